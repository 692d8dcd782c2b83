// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "finding_positions.h"
#include "landscape_loader.h"
#include "severity.h"

#include <cstddef>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Id under which schema findings stand among the rules' ids.
inline constexpr int kSchemaRuleId = -1;
/// As the table of rules and the report page name it.
inline constexpr char kSchemaRuleName[] = "Validation against XSD";
/// Where findings stand that belong to no file.
inline constexpr char kNoFileName[] = "No explicit files information";

/// One finding, as one row of the results.
struct SFinding {
    int ruleId = kSchemaRuleId;
    Severity severity = Severity::Error; ///< as shown
    Severity gate = Severity::Error;     ///< as it counts for the exit code
    int fileIndex = -1;
    std::string text;
    std::string uuid; ///< of the entry that the finding is about; may be empty
    long line = 0;    ///< where that entry begins; 0 when unknown
    /// The file of `line`. The page, and `fileIndex` with it, puts findings about entries without a
    /// uuid under no file.
    int entryFile = -1;
    /// The violations that a schema finding sums up; null for rules and for files not read.
    const Nax::FrontEnd::XMLDB::SXmlValidationResult* violations = nullptr;
    /// A sentence on where, beside the text: it changes with lines that have nothing to do with it.
    std::string place = {};
    bool couldNotRun = false; ///< it tells that the rule failed
};

/// A rule's share of the findings.
struct SRuleCount {
    int ruleId = kSchemaRuleId;
    Severity severity = Severity::Error;
    std::string name;
    std::size_t count = 0;
};

/// All findings of a run, in a total order: by file, schema first, then severity, rule, text,
/// line, uuid.
/// Counts are those of the report page: a file's schema violations are one finding.
struct SFindings {
    std::vector<SFinding> findings;
    std::vector<SRuleCount> rules; ///< those with findings: most severe first, then by id

    std::size_t Count(Severity severity) const;
    /// True when a finding counts as `threshold` or worse for the exit code.
    bool Reach(Severity threshold) const;
    /// True when a finding counts for more than it is shown as.
    bool AnyRaised() const;
    /// Lets violations of the schema count as `gate` for the exit code. Files that cannot be used
    /// still count as errors: they were not checked.
    void SetSchemaGate(Severity gate);
};

/// The text of the finding that sums up a file's violations of the schema.
std::string SchemaFindingText(const Nax::FrontEnd::XMLDB::SXmlValidationResult& violations);

/// Reads the rules' findings from the database and joins the schema check's outcomes, which must
/// outlive them.
SFindings CollectFindings(Nax::FrontEnd::XMLDB::CDBProcessor& processor,
                          const std::vector<SFileOutcome>& outcomes, const FindingPlaces& places);

} // namespace LandscapeValidator
