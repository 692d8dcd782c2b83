// SPDX-License-Identifier: Apache-2.0
#include "rules/json_exporter.h"

#include <naxfewxmldb/db_processor.h>

#include "database/statement_guard.h"
#include "platform/files.h"
#include "rules/export_rule.h"
#include "support/file_utils.h"
#include "support/format.h"
#include "support/trace.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CJsonExporter";
constexpr char kResultColumn[] = "_EEXP_RES";
constexpr std::size_t kMaxGuardedBytes = std::size_t{256} * 1024 * 1024;
// A function takes 127 arguments at most, and a column needs two.
constexpr int kColumnsPerObject = 60;

/// The column names of rows as arguments of json_object, several of them for many columns. Names
/// are quoted: "count(*)" is one, too, and must not be counted again. The outer json refuses what
/// json_object makes of an infinite number.
std::string ObjectList(IRecordset& recordset, const TextProcessor& texts) {
    std::string list;
    for (int column = 0; column < recordset.GetColumnCount(); ++column) {
        const bool isFirst = column % kColumnsPerObject == 0;
        const std::string name = recordset.GetColumnName(column).GetString();
        list.append(!isFirst      ? ","
                    : column == 0 ? "json(json_object("
                                  : ")), json(json_object(")
            .append("'")
            .append(texts.EscapeSql(name))
            .append("',\"")
            .append(texts.ReplaceAll(name, {{"\"", "\"\""}}))
            .append("\"");
    }
    return list + "))";
}

/// The objects of a row as one.
std::string JoinObjects(IRecordset& row) {
    std::string object = row.GetString(0).GetString();
    for (int index = 1; index < row.GetColumnCount(); ++index) {
        object.back() = ',';
        object.append(row.GetString(index).GetString() + 1);
    }
    return object;
}

} // namespace

std::mutex CJsonExporter::s_databaseTurn;

CJsonExporter::CJsonExporter(const std::shared_ptr<CDBProcessor>& processor, CExportRule& rule,
                             bool sourceIsName)
    : m_processor(processor), m_rule(rule), m_sourceIsName(sourceIsName) {}

bool CJsonExporter::Export(const std::string& statement, const std::string& fileName,
                           const std::string& viewName) {
    std::string json;
    const bool read = ReadJson(statement, json);
    const bool result = read && Deliver(std::move(json), fileName);
    // A view over what cannot be queried would make every later change of a table fail.
    if (read && !viewName.empty()) {
        const std::lock_guard turn(s_databaseTurn);
        const std::string sql =
            Format("CREATE VIEW if not exists %s as \n", viewName.c_str()) + statement;
        m_processor->DB_ExecuteQuery(sql.c_str());
    }
    return result;
}

bool CJsonExporter::ReadColumnList(const std::string& source, std::string& list) {
    const std::string sql =
        Format(m_sourceIsName ? "SELECT * FROM %s;" : "SELECT * FROM (%s);", source.c_str());
    std::shared_ptr<IRecordset> recordset;
    if (!m_processor->DB_ExecuteQuery(sql.c_str(), recordset)) {
        return false;
    }
    const TextProcessor& texts = m_processor->getTextProcessorRef();
    const int count = recordset->GetColumnCount();
    for (int column = 0; column < count; ++column) {
        const std::string name = recordset->GetColumnName(column).GetString();
        list.append(list.empty() ? "'" : ",'").append(texts.EscapeSql(name));
        list.append("',").append(name);
    }
    return true;
}

bool CJsonExporter::ReadJson(const std::string& source, std::string& json) {
    const std::lock_guard turn(s_databaseTurn);
    if (m_rule.IsGuarded()) {
        return ReadGuarded(source, json);
    }
    std::string columns;
    if (!ReadColumnList(source, columns)) {
        return false;
    }
    const std::string sql =
        Format(m_sourceIsName ? "SELECT json_group_array(json_object(%s)) AS _EEXP_RES FROM %s;"
                              : "SELECT json_group_array(json_object(%s)) AS _EEXP_RES FROM (%s);",
               columns.c_str(), source.c_str());
    std::shared_ptr<IRecordset> recordset;
    if (!m_processor->DB_ExecuteQuery(sql.c_str(), recordset)) {
        return false;
    }
    if (!recordset->MoveNext()) {
        // An aggregate always has a row, so this is a failure, which nobody else reports.
        const CStringA message = m_processor->GetDatabase()->GetLastError();
        NAX_TRACE_ERROR(kClass, "Export rule, id: %s, failed query: %s\nSQLite error: %s\n",
                        m_rule.id.GetString(), sql.c_str(), message.GetString());
        return false;
    }
    json = recordset->GetString(kResultColumn).GetString();
    return !json.empty();
}

bool CJsonExporter::ReadGuarded(const std::string& source, std::string& json) {
    // The wait for the turn behind other exports is none of the rule's time.
    const auto start = std::chrono::steady_clock::now();
    CStatementGuard guard(*m_processor->GetDatabase(), GuardAccess::ReadOnly,
                          start + m_rule.GetTimeLeft());
    const std::string failure = ReadGuardedRows(guard, source, json);
    m_rule.TakeTime(std::chrono::steady_clock::now() - start);
    if (!failure.empty()) {
        m_rule.reserved = failure.c_str();
    }
    return failure.empty();
}

std::string CJsonExporter::ReadGuardedRows(CStatementGuard& guard, const std::string& source,
                                           std::string& json) {
    std::shared_ptr<IRecordset> recordset;
    if (!guard.Prepare("SELECT * FROM (" + source + ")") ||
        !m_processor->DB_ExecuteQuery(Format("SELECT * FROM (%s);", source.c_str()).c_str(),
                                      recordset)) {
        return guard.GetFailure();
    }
    // Row by row: the guard bounds the length of a value, and the array is none.
    const std::string objects = ObjectList(*recordset, m_processor->getTextProcessorRef());
    guard.BeginStatement();
    if (!m_processor->DB_ExecuteQuery(
            Format("SELECT %s FROM (%s);", objects.c_str(), source.c_str()).c_str(), recordset)) {
        return guard.GetFailure();
    }
    json = "[";
    while (recordset->MoveNext()) {
        json.append(json.size() == 1 ? "" : ",").append(JoinObjects(*recordset));
        if (json.size() > kMaxGuardedBytes) {
            return "stopped: its result is longer than 256 MB";
        }
    }
    if (guard.IsBroken()) {
        return guard.GetFailure();
    }
    json.append("]");
    return {};
}

bool CJsonExporter::Deliver(std::string json, const std::string& fileName) {
    const SExportContext& context = m_rule.GetContext();
    switch (context.exportMode) {
        case kExportToFiles: {
            const std::string folder = context.GetJsonFolder();
            return CreateFolders(folder) &&
                   Utils::CFUtils::ToFile(JoinPath(folder, fileName), json) != 0;
        }
        case kExportToPage:
            m_rule.KeepJson(std::move(json));
            return true;
        default:
            NAX_TRACE_ERROR(kClass, "Export rule, id: %s, unknown export mode: %d\n",
                            m_rule.id.GetString(), context.exportMode);
            return false;
    }
}

} // namespace Nax::FrontEnd::XMLDB
