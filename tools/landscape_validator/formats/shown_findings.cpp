// SPDX-License-Identifier: Apache-2.0
#include "formats/shown_findings.h"

#include <algorithm>
#include <map>

namespace LandscapeValidator {

CShownFindings::CShownFindings(const SFindings& all, const SReport& report) {
    std::vector<std::vector<const SReportFinding*>> parts(all.findings.size());
    for (const SReportFinding& finding : report.findings) {
        if (finding.IsNew() && !finding.hidden) {
            parts[finding.source].push_back(&finding);
        }
    }
    for (std::size_t index = 0; index < parts.size(); ++index) {
        if (!parts[index].empty()) {
            AddFinding(all.findings[index], parts[index]);
        }
    }
    CountRules(all);
}

void CShownFindings::AddFinding(const SFinding& finding,
                                const std::vector<const SReportFinding*>& parts) {
    m_shown.findings.push_back(finding);
    if (finding.violations == nullptr) {
        return;
    }
    Nax::FrontEnd::XMLDB::SXmlValidationResult& left = m_violations.emplace_back();
    left.wellFormed = finding.violations->wellFormed;
    for (const SReportFinding* part : parts) {
        left.total += static_cast<long>(part->count);
        if (part->violation >= 0) {
            left.issues.push_back(
                finding.violations->issues[static_cast<std::size_t>(part->violation)]);
        }
    }
    m_shown.findings.back().violations = &left;
    m_shown.findings.back().text = SchemaFindingText(left);
}

void CShownFindings::CountRules(const SFindings& all) {
    std::map<std::pair<Severity, int>, std::size_t> counts;
    for (const SFinding& finding : m_shown.findings) {
        ++counts[{finding.severity, finding.ruleId}];
    }
    for (SRuleCount rule : all.rules) {
        const auto found = counts.find({rule.severity, rule.ruleId});
        if (found != counts.end()) {
            rule.count = found->second;
            m_shown.rules.push_back(std::move(rule));
        }
    }
}

} // namespace LandscapeValidator
