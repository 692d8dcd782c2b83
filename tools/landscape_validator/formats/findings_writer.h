// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "formats/report_model.h"

#include <ostream>

namespace LandscapeValidator {

/// Each writes one whole document about a report: every finding that is not hidden, the failures
/// of the run, and what could not be checked. Failures of the stream are left to the caller.
void WriteJsonReport(const SReport& report, std::ostream& out);
void WriteSarifReport(const SReport& report, std::ostream& out);
void WriteJunitReport(const SReport& report, std::ostream& out);
/// Workflow commands, a line each. Known and suppressed findings are no annotations.
void WriteGithubReport(const SReport& report, std::ostream& out);

/// Above this many results consumers of SARIF show only a part of them.
inline constexpr std::size_t kManySarifResults = 5000;
/// How many results the SARIF document of a report has.
std::size_t CountSarifResults(const SReport& report);

} // namespace LandscapeValidator
