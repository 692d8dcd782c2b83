// SPDX-License-Identifier: Apache-2.0
#include "formats/findings_output.h"

#include "formats/baseline_matcher.h"
#include "formats/findings_writer.h"
#include "formats/shown_findings.h"
#include "formats/suppressions.h"
#include "formats/text_encoding.h"
#include "platform/host.h"
#include "platform/whole_file.h"
#include "printable.h"
#include "summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

std::string FolderOf(const std::string& file) {
    return fs::path(file).parent_path().string();
}

bool IsSameFile(const std::string& left, const std::string& right) {
    std::error_code error;
    return left == right || fs::equivalent(left, right, error);
}

bool ColoursWanted() {
    const char* noColour = std::getenv("NO_COLOR");
    return Nax::FrontEnd::XMLDB::IsStandardOutputTerminal() &&
           (noColour == nullptr || *noColour == '\0');
}

SLeftOut LeftOut(const SReport* report) {
    if (report == nullptr) {
        return {};
    }
    const SReportCounts& counts = report->counts;
    return {counts.known, counts.suppressed, counts.hidden, report->minSeverity};
}

std::string Describe(int rule, const std::string& file, const std::string& text) {
    const std::string ruleText = rule < 0 ? "schema" : fmt::format("rule {}", rule);
    return fmt::format("{}{}{}: {}", ruleText, file.empty() ? "" : ", ", file, text);
}

/// What of the baseline no longer occurs.
void PrintGone(CSummary& summary, const SReport& report) {
    std::vector<std::string> lines;
    for (const SBaselineEntry& entry : report.gone) {
        const std::string times = entry.count > 1 ? fmt::format(" ({} times)", entry.count) : "";
        lines.push_back(Describe(entry.rule, entry.file, entry.text) + times);
    }
    if (!lines.empty()) {
        summary.PrintList(report.pruned
                              ? "Removed from the baseline, as they no longer occur:"
                              : "Known findings that no longer occur (--prune-baseline removes "
                                "them from the baseline):",
                          lines);
    }
    lines.clear();
    for (const SSuppression& entry : report.unused) {
        lines.push_back(Describe(entry.rule, entry.file.value_or(""), entry.reason));
    }
    if (!lines.empty()) {
        summary.PrintList("Suppressions of the baseline that no finding needs:", lines);
    }
}

void WriteDocument(Format format, const SReport& report, std::ostream& stream) {
    switch (format) {
        case Format::Json:
            return WriteJsonReport(report, stream);
        case Format::Sarif:
            return WriteSarifReport(report, stream);
        case Format::Junit:
            return WriteJunitReport(report, stream);
        case Format::Github:
            return WriteGithubReport(report, stream);
        case Format::Text:
            break;
    }
}

const char* NameOf(Format format) {
    switch (format) {
        case Format::Json:
            return "json";
        case Format::Sarif:
            return "sarif";
        case Format::Junit:
            return "junit";
        case Format::Github:
            return "github";
        case Format::Text:
            break;
    }
    return "text";
}

} // namespace

CFindingsOutput::CFindingsOutput(const SOptions& options, std::ostream& out, std::ostream& err)
    : m_options(options), m_report(options.report), m_out(out), m_err(err) {}

void CFindingsOutput::AddError(const std::string& message, const std::string& file) {
    m_err << kMessageStart << PrintableLines(message) << '\n';
    m_errors.push_back({ValidUtf8(message), ValidUtf8(file)});
}

bool CFindingsOutput::Fail(const std::string& message) {
    AddError(message);
    return false;
}

bool CFindingsOutput::CheckTarget(const std::string& target, const SRunOutcome& run) {
    std::vector<std::string> landscapes = m_options.files;
    for (std::size_t index = 0; index < run.files.GetCount(); ++index) {
        landscapes.push_back(run.files[index].path);
    }
    std::vector<std::string> others = {m_options.rules.schema.schema,
                                       m_options.rules.schema.stylesheet, run.database, run.page};
    for (const auto* files : {&m_options.rules.sources.ruleFiles, &m_options.rules.actionFiles}) {
        others.insert(others.end(), files->begin(), files->end());
    }
    const auto isTarget = [&target](const std::string& file) {
        return !file.empty() && IsSameFile(target, file);
    };
    if (std::any_of(landscapes.begin(), landscapes.end(), isTarget)) {
        return Fail("'" + target + "' is a file to validate; it is not written");
    }
    return std::none_of(others.begin(), others.end(), isTarget) ||
           Fail("'" + target + "' is a file of this run; it is not written over");
}

bool CFindingsOutput::Prepare() {
    const std::string& target = m_report.writeBaseline;
    std::error_code error;
    const fs::file_type type =
        target.empty() ? fs::file_type::not_found : fs::status(target, error).type();
    if (type == fs::file_type::none) { // it may hold suppressions, which are taken over
        return Fail(fmt::format("cannot use the baseline '{}': {}", target, error.message()));
    }
    return (m_report.baseline.empty() || ReadBaselineFile(m_report.baseline, m_baseline)) &&
           (type != fs::file_type::regular || ReadBaselineFile(target, m_replaced));
}

bool CFindingsOutput::ReadBaselineFile(const std::string& path, SBaseline& baseline) {
    std::string reason;
    return ReadBaseline(path, baseline, reason) ||
           Fail(fmt::format("cannot use the baseline '{}': {}", path, reason));
}

bool CFindingsOutput::NeedsReport() const {
    return m_report.outputs.size() > 1 || m_report.outputs.front().format != Format::Text ||
           m_report.minSeverity != Severity::Info || !m_report.baseline.empty() ||
           !m_report.writeBaseline.empty();
}

ExitCode CFindingsOutput::Write(const SRunOutcome& run) {
    if (!NeedsReport()) {
        WriteFormats(run, nullptr);
        return ExitCodeOf(run, nullptr);
    }
    SReport report = BuildReport(run, m_errors);
    report.failOn = m_options.failOn;
    report.minSeverity = m_report.minSeverity;
    report.baseline = m_report.baseline;
    if (!m_report.baseline.empty()) {
        CBaselineMatcher matcher(m_baseline, FolderOf(m_report.baseline));
        matcher.Mark(report);
        if (run.findings != nullptr) {
            matcher.FindGone(report);
        }
    }
    Count(report);
    if (run.findings != nullptr) {
        UpdateBaselines(run, report);
    }
    WriteFormats(run, &report);
    return ExitCodeOf(run, &report);
}

void CFindingsOutput::Count(SReport& report) const {
    SReportCounts& counts = report.counts;
    for (SReportFinding& finding : report.findings) {
        finding.hidden = finding.severity > m_report.minSeverity;
        if (finding.state == BaselineState::Known) {
            ++counts.known;
        } else if (finding.state == BaselineState::Suppressed) {
            ++counts.suppressed;
        } else {
            ++(finding.severity == Severity::Error     ? counts.errors
               : finding.severity == Severity::Warning ? counts.warnings
                                                       : counts.infos);
            counts.hidden += finding.hidden ? 1 : 0;
        }
    }
}

void CFindingsOutput::UpdateBaselines(const SRunOutcome& run, SReport& report) {
    if (!m_report.writeBaseline.empty()) {
        WriteNewBaseline(run, report);
    }
    if (!m_report.pruneBaseline || IsSameFile(m_report.writeBaseline, m_report.baseline)) {
        return;
    }
    if (!report.IsWhole()) {
        m_err << "landscape-validator: nothing is removed from the baseline, because not every "
                 "file or rule could be checked\n";
    } else if (!report.gone.empty()) {
        RemoveGone(m_baseline, report.gone);
        std::string reason;
        report.pruned = WriteBaseline(m_report.baseline, m_baseline, reason) ||
                        Fail(fmt::format("cannot write '{}': {}", m_report.baseline, reason));
    }
}

void CFindingsOutput::WriteNewBaseline(const SRunOutcome& run, const SReport& report) {
    const std::string& path = m_report.writeBaseline;
    if (!CheckTarget(path, run)) {
        return;
    }
    const std::string folder = FolderOf(path);
    std::vector<SSuppression> suppressions = m_replaced.suppressions;
    if (!IsSameFile(path, m_report.baseline)) {
        AddMovedSuppressions(m_baseline.suppressions, FolderOf(m_report.baseline), folder,
                             suppressions);
    }
    const SBaseline baseline = MakeBaseline(report, folder, m_replaced, std::move(suppressions));
    std::string reason;
    if (WriteBaseline(path, baseline, reason)) {
        m_written = baseline.findings.size();
    } else {
        Fail(fmt::format("cannot write '{}': {}", path, reason));
    }
}

void CFindingsOutput::WriteFormats(const SRunOutcome& run, SReport* report) {
    for (const SFormatOutput& output : m_report.outputs) {
        if (report != nullptr) {
            report->errors = m_errors;
            report->exitCode = ExitCodeOf(run, report);
        }
        WriteFormat(output, run, report);
    }
    if (!m_report.IsTextOnStandardOutput()) {
        WriteFacts(run, report);
    }
}

void CFindingsOutput::WriteFormat(const SFormatOutput& output, const SRunOutcome& run,
                                  const SReport* report) {
    const bool toFile = !output.file.empty();
    const auto write = [&](std::ostream& stream) {
        if (output.format == Format::Text) {
            WriteText(stream, !toFile && ColoursWanted(), run, report);
        } else if (report != nullptr) {
            WriteDocument(output.format, *report, stream);
        }
    };
    if (output.format == Format::Sarif && report != nullptr &&
        CountSarifResults(*report) > kManySarifResults) {
        m_err << fmt::format(
            "landscape-validator: the sarif document has {} results; services may show only the "
            "first {}\n",
            CountSarifResults(*report), kManySarifResults);
    }
    if (!toFile) {
        errno = 0;
        write(m_out);
        if (!m_out.flush()) {
            const int code = errno;
            const std::string what = output.format == Format::Text
                                         ? "summary"
                                         : NameOf(output.format) + std::string(" document");
            Fail(fmt::format("the {} cannot be written to standard output{}", what,
                             code == 0 ? "" : ": " + std::generic_category().message(code)));
        }
        return;
    }
    if (!CheckTarget(output.file, run)) {
        return;
    }
    std::string reason;
    if (!Nax::FrontEnd::XMLDB::WriteWholeFile(output.file, write, reason)) {
        Fail(fmt::format("cannot write '{}': {}", output.file, reason));
    }
}

void CFindingsOutput::WriteText(std::ostream& stream, bool colours, const SRunOutcome& run,
                                const SReport* report) const {
    if (run.findings == nullptr) {
        return;
    }
    CSummary summary(stream, {colours, m_options.showAll, run.schemaChecked});
    if (report == nullptr) {
        summary.Print(*run.findings, run.files, run.entries, run.rules.size());
    } else {
        const CShownFindings shown(*run.findings, *report);
        summary.Print(shown.Get(), run.files, run.entries, run.rules.size(), LeftOut(report));
        PrintGone(summary, *report);
    }
    summary.PrintPageCounts(run.pageCounts);
    WritePaths(stream, run);
}

void CFindingsOutput::WriteFacts(const SRunOutcome& run, const SReport* report) const {
    if (run.findings == nullptr || report == nullptr) {
        return;
    }
    CSummary summary(m_err, {false, m_options.showAll, run.schemaChecked});
    const CShownFindings shown(*run.findings, *report);
    summary.PrintShort(shown.Get(), run.files.GetCount(), run.entries, run.rules.size(),
                       LeftOut(report));
    PrintGone(summary, *report);
    WritePaths(m_err, run);
}

void CFindingsOutput::WritePaths(std::ostream& stream, const SRunOutcome& run) const {
    if (m_written) {
        stream << "Baseline: " << Printable(m_report.writeBaseline) << " (" << *m_written
               << (*m_written == 1 ? " entry)\n" : " entries)\n");
    }
    stream << run.collected << "Database: " << Printable(run.database) << '\n'
           << (run.pageWritten ? "Report: " + Printable(run.page) + '\n' : "");
}

ExitCode CFindingsOutput::ExitCodeOf(const SRunOutcome& run, const SReport* report) const {
    if (HasErrors() || run.findings == nullptr) {
        return ExitCode::Failure;
    }
    if (report == nullptr) {
        return run.findings->Reach(m_options.failOn) ? ExitCode::Findings : ExitCode::Clean;
    }
    // What a first baseline takes up is known from then on.
    const bool accepted = m_written && m_report.baseline.empty();
    const bool fails = m_options.failOn != Severity::None &&
                       std::any_of(report->findings.begin(), report->findings.end(),
                                   [&](const SReportFinding& finding) {
                                       return finding.IsNew() &&
                                              finding.severity <= m_options.failOn &&
                                              !(accepted && MayBeKnown(*report, finding));
                                   });
    return fails ? ExitCode::Findings : ExitCode::Clean;
}

} // namespace LandscapeValidator
