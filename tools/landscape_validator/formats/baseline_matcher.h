// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "formats/report_model.h"
#include "formats/suppressions.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace LandscapeValidator {

/// Compares a run's findings with a baseline.
///
/// Findings are the same when rule, file, uuid and text are; of several the first ones in the
/// report's order are known, as many as the entry counts. Of a file with very many violations of
/// the schema some are only counted, and the baseline knows their number. A violation that is
/// listed now may have been one of them then: when fewer are only counted now, the difference pays
/// for violations that are not known otherwise. The baseline must outlive the matcher. One use.
class CBaselineMatcher {
public:
    /// Files of `baseline` are named from `folder` on.
    CBaselineMatcher(const SBaseline& baseline, std::string folder);

    /// Sets the state of every finding.
    void Mark(SReport& report);
    /// After Mark: lists the entries and the suppressions for which this run proves that there is
    /// no finding. None when not everything was checked. Entries of rules that did not take part
    /// stay, and those of files that did not, unless the run had every file of the baseline that
    /// exists.
    void FindGone(SReport& report) const;

private:
    const std::string& FileOf(const SReportFinding& finding) const;
    bool TakeKnown(int ruleId, const SReportFinding& finding);
    /// Up to `wanted` of the violations of `file` that the baseline only counts.
    std::size_t TakeCounted(const std::string& file, std::size_t wanted);
    void MarkCounted(SReport& report);
    bool HadAllFiles() const;

    const SBaseline& m_baseline;
    const std::string m_folder;
    std::vector<std::string> m_files; ///< of the run, as the baseline names them
    std::unordered_map<std::string, std::size_t> m_left;
    CSuppressions m_suppressions;
};

/// True for a finding that a baseline may hold: the file was read and the rule ran.
bool MayBeKnown(const SReport& report, const SReportFinding& finding);

/// The findings of a report as a baseline of `folder`, without those that `suppressions`, which it
/// takes over, cover. Of files that could not be read and rules that could not run it keeps what
/// `earlier` knows.
SBaseline MakeBaseline(const SReport& report, const std::string& folder, const SBaseline& earlier,
                       std::vector<SSuppression> suppressions);

/// Takes the entries that `gone` lists out of a baseline.
void RemoveGone(SBaseline& baseline, const std::vector<SBaselineEntry>& gone);

} // namespace LandscapeValidator
