// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "file_list.h"
#include "findings.h"
#include "report.h"

#include <ostream>
#include <string>
#include <vector>

namespace LandscapeValidator {

struct SSummaryStyle {
    bool colours = false;
    bool showAll = false;
    bool schemaChecked = true;
};

/// How many findings are not in what is printed, and why.
struct SLeftOut {
    std::size_t known = 0;
    std::size_t suppressed = 0;
    std::size_t hidden = 0; ///< less severe than `minSeverity`
    Severity minSeverity = Severity::Info;
};

/// Prints what a run found: the rules with their counts, then the findings of each file.
class CSummary {
public:
    CSummary(std::ostream& out, SSummaryStyle style);

    void Print(const SFindings& findings, const CFileList& files, std::size_t entries,
               std::size_t rules, const SLeftOut& leftOut = {});
    /// The first line and the last ones of the above.
    void PrintShort(const SFindings& findings, std::size_t files, std::size_t entries,
                    std::size_t rules, const SLeftOut& leftOut);
    /// A list under a title, ten of them unless all are shown.
    void PrintList(const std::string& title, const std::vector<std::string>& lines);
    /// The statuses of files and rules as the report page counts them.
    void PrintPageCounts(const SPageCounts& counts);

private:
    void PrintRules(const SFindings& findings);
    void PrintFile(const std::string& title, const CFileList& files, const SFinding* begin,
                   const SFinding* end);
    std::size_t Shown(std::size_t total) const;
    void PrintFinding(const SFinding& finding, const CFileList& files);
    void PrintChecked(std::size_t files, std::size_t entries, std::size_t rules);
    void PrintTotals(const SFindings& findings, const SLeftOut& leftOut);
    std::string Label(Severity severity) const;
    std::string Bold(const std::string& text) const;

    std::ostream& m_out;
    SSummaryStyle m_style;
};

} // namespace LandscapeValidator
