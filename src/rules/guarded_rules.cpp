// SPDX-License-Identifier: Apache-2.0
// The engine's rules and exports from elsewhere, and the choice of those that run.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/rules_processor.h>

#include "database/statement_guard.h"
#include "rules/export_rule.h"
#include "rules/guarded_rule.h"

#include <algorithm>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view kExportFileEnd = ".json";
constexpr std::string_view kFileNameCharacters =
    "abcdefghijklmnopqrstuvwxyz"
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
constexpr std::chrono::seconds kCheckTime{10};

std::vector<std::string> CheckExport(CDBProcessor& processor, const CExportRule& rule) {
    std::vector<std::string> faults;
    CStatementGuard guard(*processor.GetDatabase(), GuardAccess::ReadOnly,
                          std::chrono::steady_clock::now() + kCheckTime);
    const std::vector<std::string> statements = CExportRule::GetStatements(rule.body.GetString());
    for (std::size_t index = 0; index < statements.size(); ++index) {
        if (!guard.Prepare("SELECT * FROM (" + statements[index] + ")")) {
            faults.push_back(StatementLabel(index, statements.size()) + guard.GetFailure());
        }
    }
    if (statements.empty()) {
        faults.emplace_back("the body holds no statement");
    }
    return faults;
}

} // namespace

void CRulesProcessor::SetRules(std::vector<std::shared_ptr<IRule>> rules) {
    m_rules = std::move(rules);
}

void CRulesProcessor::SetRulesExport(std::vector<std::shared_ptr<IRule>> rules) {
    m_exportRules = std::move(rules);
}

std::shared_ptr<IRule> CRulesProcessor::AddGuardedRule(std::chrono::milliseconds timeLimit) {
    m_rules.push_back(std::make_shared<CGuardedRule>(m_processor, timeLimit, m_charactersLeft));
    return m_rules.back();
}

std::shared_ptr<IRule> CRulesProcessor::AddGuardedExportRule(std::chrono::milliseconds timeLimit) {
    const auto rule = std::make_shared<CExportRule>(m_processor, m_resultText);
    rule->SetGuard(timeLimit);
    m_exportRules.push_back(rule);
    return rule;
}

std::vector<std::string> CRulesProcessor::CheckBody(const std::shared_ptr<IRule>& rule) const {
    if (m_processor == nullptr || m_processor->GetDatabase() == nullptr) {
        return {};
    }
    if (auto* guarded = dynamic_cast<CGuardedRule*>(rule.get())) {
        return guarded->Check();
    }
    const auto* exported = dynamic_cast<const CExportRule*>(rule.get());
    return exported != nullptr && exported->IsGuarded() ? CheckExport(*m_processor, *exported)
                                                        : std::vector<std::string>();
}

bool CRulesProcessor::IsExportFileName(const std::string& name) {
    return name.size() > kExportFileEnd.size() && name.ends_with(kExportFileEnd) &&
           name.front() != '.' && name.find_first_not_of(kFileNameCharacters) == std::string::npos;
}

std::size_t CRulesProcessor::CountStatements(const std::string& body) {
    return CExportRule::GetStatements(body).size();
}

} // namespace Nax::FrontEnd::XMLDB
