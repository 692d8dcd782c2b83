// SPDX-License-Identifier: Apache-2.0
#include "summary.h"

#include "printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace LandscapeValidator {

namespace {

constexpr std::size_t kShownPerFile = 10;
constexpr int kLabelWidth = 7;

const char* ColourOf(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return "\x1b[31m";
        case Severity::Warning:
            return "\x1b[33m";
        default:
            return "\x1b[36m";
    }
}

std::string Plural(std::size_t count, const char* singular, const char* plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

/// A value of a landscape may be megabytes; the whole text is in the database and in the report.
std::string Shortened(const std::string& text) {
    constexpr std::size_t kLimit = 600;
    if (text.size() <= kLimit) {
        return text;
    }
    std::size_t end = kLimit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end;
    }
    return text.substr(0, end) + "…";
}

std::string Where(long line) {
    return line > 0 ? fmt::format("line {}: ", line) : std::string();
}

/// A text without its line ends: a run-time error is a block.
std::string OneLine(const std::string& text) {
    std::string line = text;
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) {
        line.pop_back();
    }
    std::replace(line.begin(), line.end(), '\n', ' ');
    return Printable(Shortened(line));
}

} // namespace

CSummary::CSummary(std::ostream& out, SSummaryStyle style) : m_out(out), m_style(style) {}

std::string CSummary::Label(Severity severity) const {
    const std::string label = fmt::format("{:<{}}", SeverityLabel(severity), kLabelWidth);
    return m_style.colours ? ColourOf(severity) + label + "\x1b[0m" : label;
}

std::string CSummary::Bold(const std::string& text) const {
    return m_style.colours ? "\x1b[1m" + text + "\x1b[0m" : text;
}

void CSummary::PrintChecked(std::size_t files, std::size_t entries, std::size_t rules) {
    m_out << fmt::format("Checked {} with {} against {}{}.\n", Plural(files, "file", "files"),
                         Plural(entries, "entry", "entries"),
                         m_style.schemaChecked ? "the schema and " : "",
                         Plural(rules, "rule", "rules"));
}

void CSummary::PrintShort(const SFindings& findings, std::size_t files, std::size_t entries,
                          std::size_t rules, const SLeftOut& leftOut) {
    PrintChecked(files, entries, rules);
    PrintTotals(findings, leftOut);
}

void CSummary::PrintList(const std::string& title, const std::vector<std::string>& lines) {
    const std::size_t shown = Shown(lines.size());
    m_out << title << '\n';
    for (std::size_t index = 0; index < shown; ++index) {
        m_out << "  " << OneLine(lines[index]) << '\n';
    }
    if (shown < lines.size()) {
        m_out << fmt::format("  {} of {} shown; --all shows every one\n", shown, lines.size());
    }
}

void CSummary::Print(const SFindings& findings, const CFileList& files, std::size_t entries,
                     std::size_t rules, const SLeftOut& leftOut) {
    PrintChecked(files.GetCount(), entries, rules);
    PrintRules(findings);
    const SFinding* const end = findings.findings.data() + findings.findings.size();
    for (const SFinding* begin = findings.findings.data(); begin != end;) {
        const int index = begin->fileIndex;
        const SFinding* next = std::find_if(
            begin, end, [index](const SFinding& finding) { return finding.fileIndex != index; });
        const auto place = static_cast<std::size_t>(index);
        const bool known = index >= 0 && place < files.GetCount();
        PrintFile(known ? files[place].url : kNoFileName, files, begin, next);
        begin = next;
    }
    m_out << '\n';
    PrintTotals(findings, leftOut);
}

void CSummary::PrintRules(const SFindings& findings) {
    if (findings.rules.empty()) {
        return;
    }
    m_out << '\n' << Bold("Rules with findings") << '\n';
    for (const SRuleCount& rule : findings.rules) {
        const std::string id =
            rule.ruleId == kSchemaRuleId ? "schema" : fmt::format("rule {}", rule.ruleId);
        m_out << fmt::format("  {} {:>7}  {:<8} {}\n", Label(rule.severity), rule.count, id,
                             Printable(rule.name));
    }
}

void CSummary::PrintFile(const std::string& title, const CFileList& files, const SFinding* begin,
                         const SFinding* end) {
    const auto total = static_cast<std::size_t>(end - begin);
    const std::size_t shown = Shown(total);
    m_out << '\n' << Bold(Printable(title)) << '\n';
    std::for_each(begin, begin + shown,
                  [&](const SFinding& finding) { PrintFinding(finding, files); });
    if (shown < total) {
        m_out << fmt::format("  {} of {} shown; --all shows every finding\n", shown, total);
    }
}

std::size_t CSummary::Shown(std::size_t total) const {
    return m_style.showAll ? total : std::min(total, kShownPerFile);
}

void CSummary::PrintFinding(const SFinding& finding, const CFileList& files) {
    const std::string rule =
        finding.ruleId == kSchemaRuleId ? "schema" : fmt::format("rule {}", finding.ruleId);
    const auto file = static_cast<std::size_t>(finding.entryFile);
    const bool elsewhere =
        finding.fileIndex < 0 && finding.entryFile >= 0 && file < files.GetCount();
    m_out << fmt::format("  {} {:<8} {}{}{}\n", Label(finding.severity), rule,
                         elsewhere ? Printable(files[file].url) + ", " : "", Where(finding.line),
                         OneLine(finding.text + finding.place));
    if (finding.violations == nullptr) {
        return;
    }
    const std::vector<Nax::FrontEnd::XMLDB::SXmlIssue>& issues = finding.violations->issues;
    const std::size_t shown = Shown(issues.size());
    for (std::size_t index = 0; index < shown; ++index) {
        m_out << fmt::format("           {}{}\n", Where(issues[index].line),
                             OneLine(issues[index].reason));
    }
    const auto total = static_cast<std::size_t>(finding.violations->total);
    if (shown < total) {
        m_out << fmt::format(
            "           {} of {} shown{}\n", shown, total,
            shown < issues.size() ? "; --all shows more" : "; the others are only counted");
    }
}

void CSummary::PrintPageCounts(const SPageCounts& counts) {
    // In the order and with the labels of the page's result filter.
    static constexpr std::pair<const char*, const char*> kStatuses[] = {
        {"Success", "Success"}, {"Failed", "Error"}, {"Warning", "Warning"}, {"Info", "Info"}};
    for (const auto& [title, list] :
         {std::pair("Files", &counts.files), std::pair("Rules", &counts.rules)}) {
        m_out << title << " by result:";
        for (const auto& [status, label] : kStatuses) {
            const auto found = list->find(status);
            m_out << fmt::format(" {}({})", label, found == list->end() ? 0 : found->second);
        }
        m_out << '\n';
    }
}

void CSummary::PrintTotals(const SFindings& findings, const SLeftOut& leftOut) {
    const std::size_t errors = findings.Count(Severity::Error);
    const std::size_t warnings = findings.Count(Severity::Warning);
    const std::size_t notes = findings.Count(Severity::Info);
    if (errors + warnings + notes > 0) {
        m_out << fmt::format("{}, {}, {}.\n", Plural(errors, "error", "errors"),
                             Plural(warnings, "warning", "warnings"),
                             Plural(notes, "info finding", "info findings"));
    } else {
        const bool none = leftOut.known + leftOut.suppressed + leftOut.hidden == 0;
        m_out << (none ? "No findings.\n" : "No findings to show.\n");
    }
    if (findings.AnyRaised()) {
        m_out << "Violations of the schema and rules that could not run are shown as warnings, and "
                 "count as errors for the exit code.\n";
    }
    const auto notShown = [this](std::size_t count, const std::string& one,
                                 const std::string& several) {
        if (count > 0) {
            m_out << fmt::format("{} not shown.\n",
                                 count == 1 ? "1 " + one : fmt::format("{} {}", count, several));
        }
    };
    notShown(leftOut.known, "known finding is", "known findings are");
    notShown(leftOut.suppressed, "suppressed finding is", "suppressed findings are");
    const std::string level = fmt::format("below \"{}\"", SeverityName(leftOut.minSeverity));
    notShown(leftOut.hidden, "finding " + level + " is", "findings " + level + " are");
}

} // namespace LandscapeValidator
