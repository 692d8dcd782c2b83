// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/result_codes.h>

namespace LandscapeValidator {

/// Severities, most severe first.
enum class Severity { Error, Warning, Info, None };

/// Severity of a result code; None for the two that mean "passed".
Severity SeverityOf(Nax::FrontEnd::XMLDB::ResultCodes code);

/// "ERROR", "WARNING", "INFO".
const char* SeverityLabel(Severity severity);

} // namespace LandscapeValidator
