// SPDX-License-Identifier: Apache-2.0
// One test case a rule and file, so that a service shows which rule fails where and since when.
#include "findings.h"
#include "formats/findings_writer.h"
#include "formats/text_encoding.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

namespace LandscapeValidator {

namespace {

constexpr std::size_t kJUnitBufferSize = 1U << 16U;

std::string CaseName(const SReportRule& rule) {
    return rule.id == kSchemaRuleId ? "schema: " + rule.name
                                    : fmt::format("rule {}: {}", rule.id, rule.name);
}

struct STotals {
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t errors = 0;
    std::size_t skipped = 0;

    void Add(const STotals& other) {
        tests += other.tests;
        failures += other.failures;
        errors += other.errors;
        skipped += other.skipped;
    }
};

/// The findings of one rule in one file.
using Cell = std::vector<const SReportFinding*>;

/// Builds the test suite of one file.
class CSuite {
public:
    CSuite(const SReport& report, std::string name) : m_report(report), m_name(std::move(name)) {}

    void AddRule(const SReportRule& rule, const SReportFile* file, const Cell& findings) {
        Cell open;
        std::copy_if(findings.begin(), findings.end(), std::back_inserter(open),
                     [](const SReportFinding* finding) { return finding->IsNew(); });
        BeginCase(CaseName(rule));
        const bool unread = file != nullptr && !file->IsRead();
        const bool skippedFile = file != nullptr && file->status == FileStatus::Skipped;
        if (!open.empty() && !(skippedFile && rule.id == kSchemaRuleId)) {
            const bool error = open.front()->couldNotRun || unread;
            AddFailure(error ? "error" : "failure", open);
        } else if (unread) {
            AddUnread(rule, *file, open);
        } else if (!rule.couldRun && findings.empty()) {
            AddSkipped("the rule could not run");
        } else if (!rule.chosen) {
            AddSkipped("left out");
        } else if (!findings.empty() && open.empty()) {
            AddSkipped(fmt::format("known findings: {}", findings.size()));
        }
        EndCase();
    }

    void AddErrorCase(const std::string& name, const std::string& message) {
        BeginCase(name);
        AddError(message);
        EndCase();
    }

    bool IsEmpty() const { return m_totals.tests == 0; }
    const STotals& GetTotals() const { return m_totals; }

    void AppendTo(std::string& out) const {
        out += "  <testsuite name=\"";
        AppendXmlEscaped(out, m_name, true);
        out += fmt::format("\" tests=\"{}\" failures=\"{}\" errors=\"{}\" skipped=\"{}\">\n",
                           m_totals.tests, m_totals.failures, m_totals.errors, m_totals.skipped);
        out += m_cases;
        out += "  </testsuite>\n";
    }

private:
    void BeginCase(const std::string& name) {
        ++m_totals.tests;
        m_cases += "    <testcase classname=\"";
        AppendXmlEscaped(m_cases, m_name, true);
        m_cases += "\" name=\"";
        AppendXmlEscaped(m_cases, name, true);
        m_cases += "\">";
    }

    void EndCase() { m_cases += "</testcase>\n"; }

    void AddSkipped(std::string_view message) {
        ++m_totals.skipped;
        m_cases += "<skipped message=\"";
        AppendXmlEscaped(m_cases, message, true);
        m_cases += "\"/>";
    }

    void AddError(std::string_view message) {
        ++m_totals.errors;
        m_cases += "<error message=\"";
        AppendXmlEscaped(m_cases, message, true);
        m_cases += "\" type=\"error\"/>";
    }

    /// What is not in the findings of a file that was not read: why, and that no rule saw it.
    void AddUnread(const SReportRule& rule, const SReportFile& file, const Cell& open) {
        const auto told = std::find_if(m_report.errors.begin(), m_report.errors.end(),
                                       [&](const SReportError& e) { return e.file == file.name; });
        if (rule.id == kSchemaRuleId && told != m_report.errors.end()) {
            AddError(told->message);
        } else if (!open.empty()) {
            AddSkipped(open.front()->text);
        } else {
            AddSkipped("the file was not read");
        }
    }

    void AddFailure(const std::string& element, const Cell& findings) {
        ++(element == "error" ? m_totals.errors : m_totals.failures);
        m_cases += "<" + element + " message=\"";
        const std::string more =
            findings.size() > 1 ? fmt::format(" (and {} more)", findings.size() - 1) : "";
        AppendXmlEscaped(m_cases, std::string(findings.front()->text) + more, true);
        m_cases += fmt::format("\" type=\"{}\">", SeverityName(findings.front()->severity));
        for (const SReportFinding* finding : findings) {
            if (finding->line > 0) {
                m_cases += fmt::format("line {}: ", finding->line);
            }
            AppendXmlEscaped(m_cases, finding->text, false);
            m_cases += '\n';
        }
        m_cases += "</" + element + ">";
    }

    const SReport& m_report;
    std::string m_name;
    std::string m_cases;
    STotals m_totals;
};

/// The findings that are told, by file (the one behind the last for none) and rule.
std::vector<std::vector<const SReportFinding*>> Table(const SReport& report) {
    std::vector<Cell> cells((report.files.size() + 1) * report.rules.size());
    for (const SReportFinding& finding : report.findings) {
        if (!finding.hidden) {
            const std::size_t file =
                finding.file < 0 ? report.files.size() : static_cast<std::size_t>(finding.file);
            cells[file * report.rules.size() + finding.rule].push_back(&finding);
        }
    }
    return cells;
}

/// The failures of the run that are not those of a file in the list.
CSuite RunSuite(const SReport& report) {
    CSuite suite(report, "landscape-validator");
    for (const SReportError& error : report.errors) {
        const bool ofFile =
            std::any_of(report.files.begin(), report.files.end(),
                        [&error](const SReportFile& file) { return file.name == error.file; });
        if (!ofFile) {
            suite.AddErrorCase("run", error.message);
        }
    }
    return suite;
}

std::vector<CSuite> MakeSuites(const SReport& report) {
    const std::vector<Cell> cells = Table(report);
    const std::size_t rules = report.rules.size();
    std::vector<CSuite> suites;
    for (std::size_t file = 0; file <= report.files.size(); ++file) {
        const bool none = file == report.files.size();
        suites.emplace_back(report, none ? kNoFileName : report.files[file].name);
        for (std::size_t rule = 0; rule < rules; ++rule) {
            const Cell& cell = cells[file * rules + rule];
            if (!none || !cell.empty()) {
                suites.back().AddRule(report.rules[rule], none ? nullptr : &report.files[file],
                                      cell);
            }
        }
    }
    suites.push_back(RunSuite(report));
    return suites;
}

} // namespace

void WriteJunitReport(const SReport& report, std::ostream& out) {
    const std::vector<CSuite> suites = MakeSuites(report);
    STotals totals;
    for (const CSuite& suite : suites) {
        totals.Add(suite.GetTotals());
    }
    std::string text = fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"landscape-validator\" "
        "tests=\"{}\" failures=\"{}\" errors=\"{}\" skipped=\"{}\">\n",
        totals.tests, totals.failures, totals.errors, totals.skipped);
    for (const CSuite& suite : suites) {
        if (!suite.IsEmpty()) {
            suite.AppendTo(text);
        }
        if (text.size() > kJUnitBufferSize) {
            out << text;
            text.clear();
        }
    }
    out << text << "</testsuites>\n";
}

} // namespace LandscapeValidator
