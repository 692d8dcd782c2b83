// SPDX-License-Identifier: Apache-2.0
#include "rules/guarded_rule.h"

#include "database/statement_guard.h"
#include "support/format.h"
#include "support/trace.h"

#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/result_codes.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CGuardedRule";
constexpr char kNoInsert[] = "no statement inserts into ValidationResults: the rule finds nothing";

CStatementGuard::Deadline DeadlineAfter(std::chrono::milliseconds limit) {
    return std::chrono::steady_clock::now() + limit;
}

/// 2.5 as "2.5", 30 as "30".
std::string Seconds(std::chrono::milliseconds time) {
    const auto count = time.count();
    return count % 1000 == 0 ? std::to_string(count / 1000)
                             : Format("%.3g", static_cast<double>(count) / 1000);
}

} // namespace

std::string StatementLabel(std::size_t index, std::size_t count) {
    return count < 2 ? std::string()
                     : Format("statement %d of %d: ", static_cast<int>(index) + 1,
                              static_cast<int>(count));
}

CGuardedRule::CGuardedRule(const std::shared_ptr<CDBProcessor>& processor,
                           std::chrono::milliseconds timeLimit,
                           const std::shared_ptr<std::uint64_t>& charactersLeft)
    : CSqlRule(processor),
      m_processor(processor),
      m_timeLimit(timeLimit),
      m_charactersLeft(charactersLeft) {}

CGuardedRule::~CGuardedRule() = default;

std::vector<std::string> CGuardedRule::Statements() const {
    const TextProcessor& texts = m_processor->getTextProcessorRef();
    std::vector<std::string> statements = texts.Split(body.GetString(), ';');
    std::erase_if(statements,
                  [&texts](const std::string& piece) { return texts.TrimLeft(piece).empty(); });
    return statements;
}

bool CGuardedRule::Run() {
    NAX_TRACE(kClass, "\n### RUNNING guarded rule, id: %s\n", id.GetString());
    if (m_processor == nullptr || m_processor->GetDatabase() == nullptr) {
        return false;
    }
    const std::string failure = RunBody();
    NAX_TRACE(kClass, "\n### END RUNNING guarded rule, id: %s: '%s'\n", id.GetString(),
              failure.c_str());
    return failure.empty() || InsertFailure(failure);
}

std::string CGuardedRule::RunBody() {
    CStatementGuard guard(*m_processor->GetDatabase(), GuardAccess::InsertResults,
                          DeadlineAfter(m_timeLimit));
    const std::vector<std::string> statements = Statements();
    for (std::size_t index = 0; index < statements.size(); ++index) {
        if (!guard.Run(PreprocessQuery(statements[index].c_str()).GetString())) {
            return StatementLabel(index, statements.size()) + guard.GetFailure() +
                   (guard.IsTimedOut() ? " (" + Seconds(m_timeLimit) + " s)" : "");
        }
    }
    if (!guard.HasInsert()) {
        // A mistake, such as a body that is a comment as a whole, must not look like a pass.
        return kNoInsert;
    }
    return guard.Store(id.GetString(), *m_charactersLeft) ? std::string() : guard.GetFailure();
}

std::vector<std::string> CGuardedRule::Check() {
    std::vector<std::string> faults;
    CStatementGuard guard(*m_processor->GetDatabase(), GuardAccess::InsertResults,
                          DeadlineAfter(m_timeLimit));
    const std::vector<std::string> statements = Statements();
    for (std::size_t index = 0; index < statements.size(); ++index) {
        if (!guard.Prepare(PreprocessQuery(statements[index].c_str()).GetString())) {
            faults.push_back(StatementLabel(index, statements.size()) + guard.GetFailure());
        }
    }
    if (faults.empty() && !guard.HasInsert()) {
        faults.emplace_back(kNoInsert);
    }
    return faults;
}

bool CGuardedRule::InsertFailure(const std::string& reason) {
    const auto safe = [this](const CStringA& text) {
        return m_processor->getTextProcessorRef().EscapeSql(text.GetString());
    };
    const std::string sql = Format(
        "INSERT INTO ValidationResults (RuleId, Name, Type, Msg, Lang, Body, ResultDescription, "
        "ResultId, file_id, RunTimeErrorTrace) VALUES "
        "('%s','%s','%s','%s','%s','%s','%s','%d','','')",
        safe(id).c_str(), safe(name).c_str(), safe(type).c_str(), safe(msg).c_str(),
        safe(lang).c_str(), safe(body).c_str(), safe(("Runtime error\n" + reason).c_str()).c_str(),
        static_cast<int>(RuntimeError));
    return m_processor->DB_ExecuteQuery(sql.c_str());
}

CStringA CGuardedRule::PostRun() {
    // The statements of the base take these as they stand.
    for (CStringA* text : {&id, &type, &lang}) {
        *text = m_processor->UpdateStr(*text);
    }
    return CSqlRule::PostRun();
}

} // namespace Nax::FrontEnd::XMLDB
