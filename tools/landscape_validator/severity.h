// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/result_codes.h>

namespace LandscapeValidator {

/// Severities, most severe first.
enum class Severity { Error, Warning, Info, None };

/// How a result is shown, here as on the report page: a schema violation and a rule that failed
/// to run are warnings. None for the two codes that mean "passed".
Severity ShownSeverityOf(Nax::FrontEnd::XMLDB::ResultCodes code);

/// What a result counts as for the exit code: there those two are errors, because a landscape
/// that was not checked as a whole must not pass.
Severity GateSeverityOf(Nax::FrontEnd::XMLDB::ResultCodes code);

/// "ERROR", "WARNING", "INFO".
const char* SeverityLabel(Severity severity);
/// "error", "warning", "info", and "never" for None: as options and documents name them.
const char* SeverityName(Severity severity);

} // namespace LandscapeValidator
