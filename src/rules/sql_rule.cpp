// SPDX-License-Identifier: Apache-2.0
#include "rules/sql_rule.h"

#include "support/format.h"
#include "support/trace.h"

#include <naxfewxmldb/db_processor.h>

#include <cstdlib>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CSqlRule";

ResultCodes CodeOfType(const CStringA& type) {
    if (type == "Warning") {
        return ValidationWarning;
    }
    return type == "Info" ? ValidationInfo : ValidationFailed;
}

} // namespace

CSqlRule::CSqlRule(const std::shared_ptr<CDBProcessor>& processor) : m_processor(processor) {
    NAX_TRACE(kClass, "CSqlRule created\n");
}

CSqlRule::~CSqlRule() = default;

bool CSqlRule::Initialize() {
    NAX_TRACE(kClass, "Initialize rule, id: %s\n", id.GetString());
    return true;
}

bool CSqlRule::Finalize() {
    NAX_TRACE(kClass, "Finalize rule, id: %s\n", id.GetString());
    return true;
}

bool CSqlRule::Run() {
    NAX_TRACE(kClass, "\n### RUNNING rule, id: %s\n", id.GetString());
    bool result = false;
    if (m_processor != nullptr) {
        const std::vector<std::string> pieces =
            m_processor->getTextProcessorRef().Split(body.GetString(), ';');
        for (std::size_t index = 0; index < pieces.size(); ++index) {
            result = RunPiece(index + 1, pieces.size(), pieces[index]);
        }
    }
    NAX_TRACE(kClass, "\n### END RUNNING rule, id: %s\n", id.GetString());
    return result;
}

bool CSqlRule::RunPiece(std::size_t number, std::size_t count, const std::string& piece) {
    NAX_TRACE_AS(kClass, "Run", "Debug info: %s\n",
                 Format("Rule: %s, query (%d of %d): %s\n", id.GetString(),
                        static_cast<int>(number), static_cast<int>(count), piece.c_str())
                     .c_str());
    const CStringA query = PreprocessQuery(piece.c_str());
    NAX_TRACE_AS(kClass, "Run", "Executing query: \n%s\n", query.GetString());
    const bool result = m_processor->DB_ExecuteQuery(query);
    NAX_TRACE_AS(kClass, "Run", "Result: %d\n", static_cast<int>(result));
    return result || InsertRuntimeError();
}

bool CSqlRule::InsertRuntimeError() {
    NAX_TRACE_AS(kClass, "Run", "Runtime error");
    const TextProcessor& texts = m_processor->getTextProcessorRef();
    // The message is escaped by itself and again with its heading, so its quotes are stored
    // doubled; readers of the table know it so.
    const std::string description =
        "Runtime error\n" + texts.EscapeSql(m_processor->GetLastDBError());
    const std::string sql = Format(
        "INSERT INTO ValidationResults (RuleId, Name, Type, Msg, Lang, Body, ResultDescription, "
        "ResultId, file_id, RunTimeErrorTrace) VALUES "
        "('%s','%s','%s','%s','%s','%s','%s','%d','%s','%s')",
        id.GetString(), name.GetString(), type.GetString(), msg.GetString(), lang.GetString(),
        Escaped(body).c_str(), texts.EscapeSql(description).c_str(), static_cast<int>(RuntimeError),
        "", "");
    NAX_TRACE_AS(kClass, "Run", "%s. Going to execute: \n%s\n", "Runtime error", sql.c_str());
    const bool result = m_processor->DB_ExecuteQuery(sql.c_str());
    NAX_TRACE_AS(kClass, "Run", "Result: %d\n", static_cast<int>(result));
    if (!result) {
        NAX_TRACE_ERROR_AS(kClass, "Run",
                           "Unable insert execution error into ValidationResults. Query: \n%s\n%s",
                           sql.c_str(), m_processor->GetLastDBError().c_str());
    }
    return result;
}

CStringA CSqlRule::PreprocessQuery(const CStringA& query) {
    CStringA result = query;
    if (result.Find("@ruleid") >= 0) {
        result.Replace("@ruleid", id);
        NAX_TRACE(kClass, "@ruleid was updated with: %s \n", id.GetString());
    }
    if (result.Find("@message") >= 0) {
        result.Replace("@message", msg);
        NAX_TRACE(kClass, "@message was updated with: '%s' \n", msg.GetString());
    }
    return result;
}

CStringA CSqlRule::PostRun() {
    NAX_TRACE(kClass, "\n\n### POSTRUN rule, id: %s\n", id.GetString());
    int count = 0;
    if (CountFindings(count)) {
        NAX_TRACE(kClass, "%s",
                  count == 0 ? "Validation PASSED! Going to update ValidationResults.\n"
                             : "Violations. Going to update ValidationResults.\n");
        const std::string sql = count == 0 ? PassedStatement() : ViolationsStatement();
        m_processor->DB_ExecuteQuery(sql.c_str());
        NAX_TRACE(kClass, "Query: %s\n", sql.c_str());
    }
    NAX_TRACE(kClass, "\n### POSTRUN finished(id: %s)\n", id.GetString());
    return {};
}

bool CSqlRule::CountFindings(int& count) {
    const std::string sql =
        Format("SELECT count(*) As CNT FROM ValidationResults WHERE RuleId = '%s'", id.GetString());
    NAX_TRACE_AS(kClass, "PostRun", "Query: %s\n", sql.c_str());
    std::shared_ptr<IRecordset> recordset;
    if (m_processor == nullptr || !m_processor->DB_ExecuteQuery(sql.c_str(), recordset) ||
        !recordset->MoveNext()) {
        return false;
    }
    count = static_cast<int>(std::strtol(recordset->GetString("CNT"), nullptr, 10));
    NAX_TRACE_AS(kClass, "PostRun", "Count: %d\n", count);
    return true;
}

std::string CSqlRule::PassedStatement() const {
    return Format(
        "INSERT INTO ValidationResults (Ruleid,Name,Type,Msg,Lang,Body,ResultDescription,"
        "ResultId,file_id,RunTimeErrorTrace) "
        "VALUES('%s','%s','%s','%s','%s','%s','%s','%d','%s','%s')",
        id.GetString(), Escaped(name).c_str(), type.GetString(), Escaped(msg).c_str(),
        lang.GetString(), Escaped(body).c_str(), ResultCodeName(ValidationPassed),
        static_cast<int>(ValidationPassed), "", "");
}

std::string CSqlRule::ViolationsStatement() const {
    return Format(
        "UPDATE ValidationResults SET "
        "name='%s',type='%s',msg='%s',lang='%s',body='%s',resultid='%d' "
        "WHERE RuleId='%s' and ResultId is not '2'",
        Escaped(name).c_str(), type.GetString(), Escaped(msg).c_str(), lang.GetString(),
        Escaped(body).c_str(), static_cast<int>(CodeOfType(type)), id.GetString());
}

std::string CSqlRule::Escaped(const CStringA& text) const {
    return m_processor->getTextProcessorRef().EscapeSql(text.GetString());
}

} // namespace Nax::FrontEnd::XMLDB
