// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "file_list.h"
#include "findings.h"
#include "report.h"

#include <ostream>

namespace LandscapeValidator {

struct SSummaryStyle {
    bool colours = false;
    bool showAll = false;
    bool schemaChecked = true;
};

/// Prints what a run found: the rules with their counts, then the findings of each file.
class CSummary {
public:
    CSummary(std::ostream& out, SSummaryStyle style);

    void Print(const SFindings& findings, const CFileList& files, std::size_t entries,
               std::size_t rules);
    /// The statuses of files and rules as the report page counts them.
    void PrintPageCounts(const SPageCounts& counts);

private:
    void PrintRules(const SFindings& findings);
    void PrintFile(const std::string& title, const SFinding* begin, const SFinding* end);
    std::size_t Shown(std::size_t total) const;
    void PrintFinding(const SFinding& finding);
    void PrintTotals(const SFindings& findings);
    std::string Label(Severity severity) const;
    std::string Bold(const std::string& text) const;

    std::ostream& m_out;
    SSummaryStyle m_style;
};

} // namespace LandscapeValidator
