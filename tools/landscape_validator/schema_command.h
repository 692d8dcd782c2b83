// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "rule_options.h"

#include <ostream>

namespace LandscapeValidator {

/// Writes the schema's bytes to `out`.
ExitCode PrintSchema(const SSchemaFiles& files, std::ostream& out, std::ostream& err);
/// Writes the statements that make the tables, as they are when the rules run, to `out`.
ExitCode PrintTables(const SSchemaFiles& files, std::ostream& out, std::ostream& err);

} // namespace LandscapeValidator
