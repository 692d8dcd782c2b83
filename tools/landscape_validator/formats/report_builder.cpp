// SPDX-License-Identifier: Apache-2.0
#include "formats/report_builder.h"

#include "formats/file_names.h"
#include "formats/text_encoding.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

/// FNV-1a, 64 bits, each part closed by a byte that no text has.
class CContentHash {
public:
    CContentHash& Add(std::string_view part) {
        for (const char character : part) {
            AddByte(static_cast<unsigned char>(character));
        }
        AddByte(0xFF);
        return *this;
    }
    std::uint64_t Get() const { return m_hash; }

private:
    void AddByte(unsigned char byte) { m_hash = (m_hash ^ byte) * 0x100000001B3U; }

    std::uint64_t m_hash = 0xCBF29CE484222325U;
};

FileStatus StatusOf(const SFileOutcome& outcome) {
    if (!outcome.note.empty()) {
        return outcome.code == ValidationInfo ? FileStatus::Skipped : FileStatus::Unreadable;
    }
    if (!outcome.result.wellFormed) {
        return FileStatus::Unreadable;
    }
    return outcome.result.total > 0 ? FileStatus::Invalid : FileStatus::Valid;
}

Severity SeverityOfType(const CStringA& type) {
    if (type == "Warning") {
        return Severity::Warning;
    }
    return type == "Info" ? Severity::Info : Severity::Error;
}

/// The text without the numbers of lines, and of the path `name`, in quotes, the file name only.
std::string StableText(std::string_view text, const std::string& name) {
    constexpr std::string_view kLine = "line ";
    std::string stable(text);
    const std::string quoted = "\"" + name + "\"";
    const std::string stableName = name.substr(name.rfind('/') + 1);
    for (std::size_t at = stable.find(quoted); at != std::string::npos;
         at = stable.find(quoted, at + 1)) {
        stable.replace(at + 1, name.size(), stableName);
    }
    for (std::size_t at = stable.find(kLine); at != std::string::npos;
         at = stable.find(kLine, at)) {
        at += kLine.size();
        std::size_t end = at;
        while (end < stable.size() && std::isdigit(static_cast<unsigned char>(stable[end])) != 0) {
            ++end;
        }
        if (end > at) {
            stable.replace(at, end - at, "#");
        }
    }
    return stable;
}

class CReportBuilder {
public:
    explicit CReportBuilder(const SRunOutcome& run) : m_run(run), m_names(".") {}

    SReport Build(std::vector<SReportError> errors) {
        m_report.errors = std::move(errors);
        m_report.entries = m_run.entries;
        m_report.builtInRules = m_run.builtInRules;
        AddFiles();
        AddRules();
        if (m_run.findings != nullptr) {
            AddFindings();
            Sort();
            CountCopies();
        }
        return std::move(m_report);
    }

private:
    void AddFiles() {
        std::set<std::string_view> failed;
        for (const SReportError& error : m_report.errors) {
            failed.insert(error.file);
        }
        for (std::size_t index = 0; index < m_run.files.GetCount(); ++index) {
            const SLandscapeFile& known = m_run.files[index];
            SReportFile file;
            file.name = known.url;
            file.includedBy = known.includedBy;
            file.failed = failed.count(known.url) != 0;
            SetPath(file);
            if (file.failed) {
                file.status = FileStatus::Unreadable;
            } else if (m_run.outcomes != nullptr && index < m_run.outcomes->size()) {
                const SFileOutcome& outcome = (*m_run.outcomes)[index];
                file.status = StatusOf(outcome);
                file.violations = outcome.result.total;
            }
            m_report.files.push_back(std::move(file));
        }
    }

    void SetPath(SReportFile& file) {
        if (IsRemoteUrl(file.name)) {
            file.isRelative = false;
            file.path = file.name;
            file.uri = PercentEncodedUrl(file.name);
            return;
        }
        file.path = m_names.Relative(file.name);
        file.isRelative = IsBelow(file.path);
        if (!file.isRelative) {
            file.path = m_names.Absolute(file.name);
        }
        file.uri = (file.isRelative ? "" : "file://") + PercentEncodedPath(file.path);
    }

    void AddRules() {
        m_report.rules.push_back({kSchemaRuleId,
                                  kSchemaRuleName,
                                  {},
                                  m_run.schemaSeverity,
                                  m_run.findings != nullptr,
                                  m_run.schemaChecked});
        m_rules[kSchemaRuleId] = 0;
        for (const std::shared_ptr<IRule>& rule : m_run.rules) {
            const int id = static_cast<int>(std::strtol(rule->id, nullptr, 10));
            if (m_rules.try_emplace(id, m_report.rules.size()).second) {
                m_report.rules.push_back({id, rule->name.GetString(), rule->solution.GetString(),
                                          SeverityOfType(rule->type), true});
            }
        }
    }

    std::size_t RuleOf(const SFinding& finding) {
        const auto [found, isNew] = m_rules.try_emplace(finding.ruleId, m_report.rules.size());
        if (isNew) {
            m_report.rules.push_back(
                {finding.ruleId, "Rule " + std::to_string(finding.ruleId), {}, finding.gate, true});
        }
        return found->second;
    }

    void AddFindings() {
        const std::vector<SFinding>& findings = m_run.findings->findings;
        m_report.findings.reserve(findings.size());
        for (std::size_t index = 0; index < findings.size(); ++index) {
            const SFinding& source = findings[index];
            SReportFinding finding;
            finding.source = index;
            finding.rule = RuleOf(source);
            finding.severity = source.gate;
            finding.shown = source.severity;
            const int file = source.fileIndex < 0 ? source.entryFile : source.fileIndex;
            const bool known = file >= 0 && static_cast<std::size_t>(file) < m_report.files.size();
            finding.file = known ? file : -1;
            finding.uuid = source.uuid;
            finding.couldNotRun = source.couldNotRun;
            if (source.couldNotRun) {
                m_report.rules[finding.rule].couldRun = false;
            }
            if (source.violations != nullptr) {
                AddViolations(finding, *source.violations);
            } else {
                finding.line = source.line;
                finding.text = finding.keyText = source.text;
                if (!source.place.empty()) {
                    finding.text = m_report.texts.emplace_back(source.text + source.place);
                }
                Add(finding);
            }
        }
    }

    void AddViolations(SReportFinding finding, const SXmlValidationResult& result) {
        const SReportFile* file = m_report.FileOf(finding);
        const std::string name = file == nullptr ? std::string() : file->name;
        for (std::size_t index = 0; index < result.issues.size(); ++index) {
            const SXmlIssue& issue = result.issues[index];
            finding.violation = static_cast<int>(index);
            finding.line = issue.line;
            finding.text = finding.keyText = issue.reason;
            if (!result.wellFormed) {
                finding.keyText = m_report.texts.emplace_back(StableText(issue.reason, name));
            }
            Add(finding);
        }
        const auto total = static_cast<std::size_t>(std::max(result.total, 0L));
        if (total > result.issues.size()) {
            finding.violation = SReportFinding::kRest;
            finding.line = 0;
            finding.count = finding.total = total - result.issues.size();
            finding.keyText = SReportFinding::kRestText;
            finding.text = m_report.texts.emplace_back(
                fmt::format("{} {}", finding.count, SReportFinding::kRestText));
            Add(finding);
        }
    }

    void Add(SReportFinding& finding) {
        const SReportFile* file = m_report.FileOf(finding);
        CContentHash hash;
        hash.Add(RuleIdText(m_report.RuleOf(finding).id)).Add(file == nullptr ? "" : file->path);
        finding.content = hash.Add(finding.uuid).Add(finding.keyText).Get();
        m_report.findings.push_back(finding);
    }

    void Sort() {
        const auto order = [this](const SReportFinding& finding) {
            return std::tuple(finding.severity, finding.file, m_report.RuleOf(finding).id,
                              finding.violation == SReportFinding::kRest, finding.line,
                              finding.text, finding.uuid, finding.shown);
        };
        std::stable_sort(m_report.findings.begin(), m_report.findings.end(),
                         [&order](const SReportFinding& left, const SReportFinding& right) {
                             return order(left) < order(right);
                         });
    }

    void CountCopies() {
        std::unordered_map<std::uint64_t, std::size_t> copies;
        copies.reserve(m_report.findings.size());
        for (SReportFinding& finding : m_report.findings) {
            finding.copy = ++copies[finding.content];
        }
    }

    const SRunOutcome& m_run;
    CFileNames m_names;
    SReport m_report;
    std::map<int, std::size_t> m_rules;
};

} // namespace

SReport BuildReport(const SRunOutcome& run, std::vector<SReportError> errors) {
    return CReportBuilder(run).Build(std::move(errors));
}

} // namespace LandscapeValidator
