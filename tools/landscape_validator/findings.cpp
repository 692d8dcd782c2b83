// SPDX-License-Identifier: Apache-2.0
#include "findings.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

// Schema findings stand there too, one a file, but not their faults one by one.
constexpr char kRuleFindings[] =
    "SELECT RuleId, Name, ResultId, ResultDescription, file_id, UUID, pk FROM ValidationResults "
    "WHERE ResultId NOT IN ('1', '4') AND CAST(RuleId AS INTEGER) >= 0";

int ToNumber(const CStringA& text, int whenEmpty) {
    return text.IsEmpty() ? whenEmpty : static_cast<int>(std::strtol(text, nullptr, 10));
}

SEntryPlace PlaceOf(const FindingPlaces& places, long number) {
    const auto found = places.find(number);
    return found == places.end() ? SEntryPlace() : found->second;
}

using RuleCounts = std::map<std::pair<Severity, int>, SRuleCount>;

void Add(const SFinding& finding, const std::string& ruleName, SFindings& all, RuleCounts& counts) {
    SRuleCount& rule = counts[{finding.severity, finding.ruleId}];
    rule.ruleId = finding.ruleId;
    rule.severity = finding.severity;
    rule.name = ruleName;
    ++rule.count;
    all.findings.push_back(finding);
}

void AddSchemaFinding(const SFileOutcome& outcome, int fileIndex, SFindings& all,
                      RuleCounts& counts) {
    if (!outcome.remark.empty()) {
        SFinding remark;
        remark.severity = remark.gate = Severity::Info;
        remark.fileIndex = fileIndex;
        remark.text = outcome.remark;
        remark.place = outcome.remarkEnd;
        Add(remark, kSchemaRuleName, all, counts);
    }
    const Severity severity = ShownSeverityOf(outcome.code);
    if (severity == Severity::None) {
        return;
    }
    SFinding finding;
    finding.severity = severity;
    finding.gate = GateSeverityOf(outcome.code);
    finding.fileIndex = fileIndex;
    finding.text = outcome.note;
    finding.place = outcome.place;
    if (outcome.note.empty()) {
        finding.violations = &outcome.result;
        finding.text = SchemaFindingText(outcome.result);
    }
    Add(finding, kSchemaRuleName, all, counts);
}

} // namespace

std::string SchemaFindingText(const SXmlValidationResult& violations) {
    if (!violations.wellFormed) {
        return "The file cannot be used:";
    }
    return violations.total == 1 ? "1 violation of the schema:"
                                 : std::to_string(violations.total) + " violations of the schema:";
}

std::size_t SFindings::Count(Severity severity) const {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const SFinding& f) { return f.severity == severity; }));
}

bool SFindings::Reach(Severity threshold) const {
    return threshold != Severity::None &&
           std::any_of(findings.begin(), findings.end(),
                       [threshold](const SFinding& f) { return f.gate <= threshold; });
}

bool SFindings::AnyRaised() const {
    return std::any_of(findings.begin(), findings.end(),
                       [](const SFinding& f) { return f.gate < f.severity; });
}

void SFindings::SetSchemaGate(Severity gate) {
    for (SFinding& finding : findings) {
        if (finding.violations != nullptr && finding.violations->wellFormed) {
            finding.gate = gate;
        }
    }
}

SFindings CollectFindings(CDBProcessor& processor, const std::vector<SFileOutcome>& outcomes,
                          const FindingPlaces& places) {
    SFindings all;
    RuleCounts counts;
    for (std::size_t index = 0; index < outcomes.size(); ++index) {
        AddSchemaFinding(outcomes[index], static_cast<int>(index), all, counts);
    }
    std::shared_ptr<IRecordset> rows;
    if (processor.DB_ExecuteQuery(kRuleFindings, rows)) {
        while (rows->MoveNext()) {
            const auto code = static_cast<ResultCodes>(rows->GetInt(2));
            SFinding finding;
            finding.ruleId = rows->GetInt(0);
            finding.severity = ShownSeverityOf(code);
            finding.gate = GateSeverityOf(code);
            finding.fileIndex = ToNumber(rows->GetString(4), -1);
            finding.text = rows->GetString(3).GetString();
            finding.uuid = rows->GetString(5).GetString();
            const SEntryPlace place = PlaceOf(places, rows->GetInt(6));
            finding.line = place.line;
            finding.entryFile = place.fileIndex;
            finding.couldNotRun = code == RuntimeError;
            Add(finding, rows->GetString(1).GetString(), all, counts);
        }
    }
    const auto order = [](const SFinding& finding) {
        // What is wrong with the file itself comes first.
        return std::tuple(finding.fileIndex, finding.ruleId != kSchemaRuleId, finding.severity,
                          finding.ruleId, std::string_view(finding.text), finding.entryFile,
                          finding.line, std::string_view(finding.uuid));
    };
    std::sort(all.findings.begin(), all.findings.end(),
              [&order](const SFinding& left, const SFinding& right) {
                  return order(left) < order(right);
              });
    for (auto& [key, rule] : counts) {
        all.rules.push_back(std::move(rule));
    }
    return all;
}

} // namespace LandscapeValidator
