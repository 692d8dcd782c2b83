// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "landscape_loader.h"
#include "severity.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Id under which schema findings stand among the rules' ids.
inline constexpr int kSchemaRuleId = -1;

/// One finding as it is shown.
struct SFinding {
    int ruleId = kSchemaRuleId;
    Severity severity = Severity::Error;
    int fileIndex = -1;
    long line = 0; ///< 0 when not known
    std::string text;
};

/// A rule's share of the findings.
struct SRuleCount {
    int ruleId = kSchemaRuleId;
    Severity severity = Severity::Error;
    std::string name;
    std::size_t count = 0;
};

/// All findings of a run, in a total order: by file, severity, line, rule, text.
struct SFindings {
    std::vector<SFinding> findings;
    std::vector<SRuleCount> rules; ///< those with findings: most severe first, then by id
    /// Schema faults beyond the ones kept in detail, by file index.
    std::map<int, long> unlistedFaults;

    std::size_t Count(Severity severity) const;
};

/// Reads the rules' findings from the database and joins the schema check's outcomes.
SFindings CollectFindings(Nax::FrontEnd::XMLDB::CDBProcessor& processor,
                          const std::vector<SFileOutcome>& outcomes);

} // namespace LandscapeValidator
