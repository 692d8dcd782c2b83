// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "formats/report_builder.h"
#include "options.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Tells what a run found, in the formats that were asked for, and decides how the program ends.
///
/// Documents go to their files, or to `out`, which then holds nothing else. Failures are told on
/// `err` as they come, and again in the documents; a file that cannot be written does not keep the
/// others from being written. With a baseline, known findings do not fail the run.
class CFindingsOutput {
public:
    /// All three must outlive it.
    CFindingsOutput(const SOptions& options, std::ostream& out, std::ostream& err);

    /// Reads the baseline. False when it cannot be used: nothing has been written then.
    bool Prepare();
    /// A step that failed, or a file that cannot be read: the run ends with a failure.
    void AddError(const std::string& message, const std::string& file = {});
    bool HasErrors() const { return !m_errors.empty(); }

    ExitCode Write(const SRunOutcome& run);

private:
    bool Fail(const std::string& message);
    /// False, with a message, when writing `target` would destroy what the run reads or has made.
    bool CheckTarget(const std::string& target, const SRunOutcome& run);
    bool ReadBaselineFile(const std::string& path, SBaseline& baseline);

    /// False for what the findings alone tell: the printed summary of all of them.
    bool NeedsReport() const;
    void Count(SReport& report) const;
    void UpdateBaselines(const SRunOutcome& run, SReport& report);
    void WriteNewBaseline(const SRunOutcome& run, const SReport& report);

    void WriteFormats(const SRunOutcome& run, SReport* report);
    void WriteFormat(const SFormatOutput& output, const SRunOutcome& run, const SReport* report);
    void WriteText(std::ostream& stream, bool colours, const SRunOutcome& run,
                   const SReport* report) const;
    /// What a person wants to know of a run whose findings went elsewhere.
    void WriteFacts(const SRunOutcome& run, const SReport* report) const;
    void WritePaths(std::ostream& stream, const SRunOutcome& run) const;
    ExitCode ExitCodeOf(const SRunOutcome& run, const SReport* report) const;

    const SOptions& m_options;
    const SReportOptions& m_report;
    std::ostream& m_out;
    std::ostream& m_err;
    std::vector<SReportError> m_errors;
    SBaseline m_baseline;
    SBaseline m_replaced;                 ///< what stood in the file that --write-baseline names
    std::optional<std::size_t> m_written; ///< entries of the new baseline
};

} // namespace LandscapeValidator
