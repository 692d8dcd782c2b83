// SPDX-License-Identifier: Apache-2.0
#include "findings.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr char kSchemaRuleName[] = "XML Schema(XSD) validation results";

// Schema findings stand there too, one a file, but not their faults one by one.
constexpr char kRuleFindings[] =
    "SELECT RuleId, Name, ResultId, ResultDescription, file_id FROM ValidationResults "
    "WHERE ResultId NOT IN ('1', '4') AND CAST(RuleId AS INTEGER) >= 0";

int ToNumber(const CStringA& text, int whenEmpty) {
    return text.IsEmpty() ? whenEmpty : static_cast<int>(std::strtol(text, nullptr, 10));
}

void AddCount(std::map<std::pair<int, Severity>, SRuleCount>& counts, int ruleId, Severity severity,
              const std::string& name, std::size_t count) {
    SRuleCount& rule = counts[{ruleId, severity}];
    rule.ruleId = ruleId;
    rule.severity = severity;
    rule.name = name;
    rule.count += count;
}

} // namespace

std::size_t SFindings::Count(Severity severity) const {
    std::size_t count = 0;
    for (const SRuleCount& rule : rules) {
        count += rule.severity == severity ? rule.count : 0;
    }
    return count;
}

SFindings CollectFindings(CDBProcessor& processor, const std::vector<SFileOutcome>& outcomes) {
    SFindings all;
    std::map<std::pair<int, Severity>, SRuleCount> counts;
    int fileIndex = 0;
    for (const SFileOutcome& outcome : outcomes) {
        const Severity severity = SeverityOf(outcome.code);
        for (const SXmlIssue& issue : outcome.result.issues) {
            all.findings.push_back({kSchemaRuleId, severity, fileIndex, issue.line, issue.reason});
        }
        if (!outcome.note.empty()) {
            all.findings.push_back({kSchemaRuleId, severity, fileIndex, 0, outcome.note});
        }
        const long listed = static_cast<long>(outcome.result.issues.size());
        if (outcome.result.total > listed) {
            all.unlistedFaults[fileIndex] = outcome.result.total - listed;
        }
        const long total = outcome.note.empty() ? outcome.result.total : 1;
        if (total > 0) {
            AddCount(counts, kSchemaRuleId, severity, kSchemaRuleName,
                     static_cast<std::size_t>(total));
        }
        ++fileIndex;
    }
    std::shared_ptr<IRecordset> rows;
    if (processor.DB_ExecuteQuery(kRuleFindings, rows)) {
        while (rows->MoveNext()) {
            const auto code = static_cast<ResultCodes>(rows->GetInt(2));
            SFinding finding{rows->GetInt(0), SeverityOf(code), ToNumber(rows->GetString(4), -1), 0,
                             rows->GetString(3).GetString()};
            AddCount(counts, finding.ruleId, finding.severity, rows->GetString(1).GetString(), 1);
            all.findings.push_back(std::move(finding));
        }
    }
    std::sort(
        all.findings.begin(), all.findings.end(), [](const SFinding& left, const SFinding& right) {
            return std::tie(left.fileIndex, left.severity, left.line, left.ruleId, left.text) <
                   std::tie(right.fileIndex, right.severity, right.line, right.ruleId, right.text);
        });
    for (auto& [key, rule] : counts) {
        all.rules.push_back(std::move(rule));
    }
    std::stable_sort(all.rules.begin(), all.rules.end(),
                     [](const SRuleCount& left, const SRuleCount& right) {
                         return left.severity < right.severity;
                     });
    return all;
}

} // namespace LandscapeValidator
