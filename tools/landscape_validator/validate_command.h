// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "options.h"

#include <ostream>

namespace LandscapeValidator {

/// Runs one validation: the summary goes to `out`, progress and failures to `err`.
ExitCode RunValidate(const SOptions& options, std::ostream& out, std::ostream& err);

} // namespace LandscapeValidator
