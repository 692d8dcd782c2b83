// SPDX-License-Identifier: Apache-2.0
// Dispatch of the processor's operations, statement execution and the fixed result tables.
#include <naxfewxmldb/db_processor.h>

#include "database/bound_insert_runner.h"
#include "processor/error_blocks.h"
#include "processor/operation_names.h"
#include "support/bstr_text.h"
#include "support/format.h"
#include "support/text_conversion.h"
#include "support/trace.h"
#include "support/within_memory.h"

#include <exception>
#include <new>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CDBProcessor";
constexpr char kCreateResultId[] =
    "DROP TABLE IF EXISTS ResultID; CREATE TABLE IF NOT EXISTS \"ResultID\" (\"Id\" TEXT, "
    "\"Name\" TEXT, PRIMARY KEY(\"Id\"))";

constexpr char kDropResults[] = "DROP TABLE IF EXISTS ValidationResults";
constexpr char kCreateResults[] =
    "CREATE TABLE IF NOT EXISTS \"ValidationResults\" (\"pk\"\tINTEGER, \"RuleId\"\tTEXT, "
    "\"Name\" TEXT, \"Type\" TEXT, \"Msg\" TEXT, \"Lang\"TEXT, \"Body\" TEXT, "
    "\"ResultDescription\"\tTEXT, \"ResultId\"\tTEXT, \"UUID\" TEXT, \"file_id\" TEXT, "
    "\"RunTimeErrorTrace\"\tTEXT,  PRIMARY KEY(\"pk\"))";
constexpr char kEmptyResults[] = "DELETE FROM ValidationResults";

constexpr char kDropRules[] = "DROP TABLE IF EXISTS Rules";
constexpr char kCreateRules[] =
    "CREATE TABLE IF NOT EXISTS \"Rules\" (\"pk\"\tINTEGER, \"RuleId\"\tTEXT, \"Name\" TEXT, "
    "\"Type\" TEXT, \"Msg\" TEXT, \"Params\"TEXT, \"Lang\"TEXT, \"Body\" TEXT, \"Solution\" TEXT, "
    "PRIMARY KEY(\"pk\"))";
constexpr char kEmptyRules[] = "DELETE FROM Rules";

constexpr ResultCodes kResultIdOrder[] = {
    ValidationFailed, ValidationPassed,           ValidationWarning,         ValidationInfo,
    RuntimeError,     ValidationAgainstXSDFailed, ValidationAgainstXSDPassed};

std::string Describe(const SLinkTableProperties& properties) {
    return Format(
        "table: %s, first column: %s, second column: %s, first value: %s, "
        "second value: %s",
        ToNarrow(properties.tableName).c_str(), ToNarrow(properties.firstColumn).c_str(),
        ToNarrow(properties.secondColumn).c_str(), ToNarrow(properties.firstValue).c_str(),
        ToNarrow(properties.secondValue).c_str());
}

} // namespace

bool CDBProcessor::Process(DBOperations operation, const std::basic_stringstream<wchar_t>& data) {
    bool result = false;
    try {
        std::string text;
        AppendUtf8(text, data.view());
        NAX_TRACE(kClass, "Operation: %s, sdata: '%s'\n", DBOperationName(operation), text.c_str());
        result = Dispatch(operation, text);
    } catch (const std::exception& exception) {
        result = WithinMemory([&] { return Error(kProcessError, exception.what()); });
        if (dynamic_cast<const std::bad_alloc*>(&exception) != nullptr) {
            NoteFailedAllocation();
        }
    }
    NAX_TRACE(kClass, "CDBProcessor::Process, operation: %s, result: %d\n",
              DBOperationName(operation), static_cast<int>(result));
    return result;
}

bool CDBProcessor::Process(DBOperations operation, const SLinkTableProperties& properties) try {
    if (m_dataMapped) {
        return Error(kProcessError, "Data mapping already done");
    }
    NAX_TRACE(kClass, "Operation: %s, linked_table_props:'%s'\n", DBOperationName(operation),
              Describe(properties).c_str());
    bool result = false;
    if (operation == AddLinkTable) {
        result = CreateLinksTableDDL(properties);
    } else if (operation == AddLinkTalbeRecord) {
        result = DB_AddRecordLinkTable(properties);
    }
    NAX_TRACE(kClass, "Result: %d\n", static_cast<int>(result));
    return result;
} catch (...) {
    return FailWithoutMemory();
}

bool CDBProcessor::Dispatch(DBOperations operation, const std::string& text) {
    switch (operation) {
        case createDB:
            return Initialize(true) && DB_Create_Scheme();
        case openDB:
            return Initialize(false);
        case Commit:
            return DB_Commit();
        case CreateResultsTable:
            return RecreateTable(kDropResults, kCreateResults, kEmptyResults);
        case CreateRulesTable:
            return RecreateTable(kDropRules, kCreateRules, kEmptyRules);
        case CreateResultIdTable:
            return CreateResultIds();
        default:
            return AddElementRecord(operation, text.c_str());
    }
}

bool CDBProcessor::AddElementRecord(DBOperations operation, const char* text) {
    switch (operation) {
        case AddWorkspace:
            return AddWorkspaceRecord(text);
        case AddMessageServer:
            return AddMessageServerRecord(text);
        case AddRouter:
            return AddRouterRecord(text);
        case AddWebDispatcher:
            return AddWebDispatcherRecord(text);
        case AddNode:
            return AddNodeRecord(text);
        case AddLDAP:
            return AddLDAPRecord(text);
        case AddService:
            return AddServiceRecord(text);
        case AddParameter:
            return AddParameterRecord(text);
        case DBOperations::AddItem:
            return AddItem(text);
        case AddServerConfigurationFile:
            return AddServerConfigurationFileRecord(text);
        default:
            return false;
    }
}

bool CDBProcessor::RecreateTable(const char* dropSql, const char* createSql,
                                 const char* deleteSql) {
    const bool dropped = DB_ExecuteQuery(dropSql);
    const bool created = DB_ExecuteQuery(createSql);
    const bool emptied = DB_ExecuteQuery(deleteSql);
    return dropped && created && emptied;
}

bool CDBProcessor::CreateResultIds() {
    if (!DB_ExecuteQuery(kCreateResultId)) {
        return false;
    }
    bool result = true;
    for (const ResultCodes code : kResultIdOrder) {
        const std::string sql = Format("INSERT INTO ResultID (Id, Name) VALUES ('%d', '%s')",
                                       static_cast<int>(code), ResultCodeName(code));
        result = DB_ExecuteQuery(sql.c_str()) && result;
    }
    return result;
}

bool CDBProcessor::DB_ExecuteQuery(const char* sql) try {
    {
        // The connection's message belongs to its latest statement: nobody may come between.
        const std::lock_guard lock(*m_errorMutex);
        if (m_database == nullptr || !m_database->Execute(sql)) {
            const bool failed =
                Error(kExecuteError, std::string("Failed execute query : ").append(sql));
            NAX_TRACE_ERROR(kClass, "DB_ExecuteQuery: '%s', result: %d\n", sql,
                            static_cast<int>(failed));
            return false;
        }
    }
    NAX_TRACE(kClass, "DB_ExecuteQuery: '%s', result: %d\n", sql, 1);
    return true;
} catch (...) {
    return FailWithoutMemory();
}

bool CDBProcessor::DB_ExecuteQuery(const std::string& sql, IBoundInsertRunner* boundInserts) {
    if (boundInserts == nullptr || !boundInserts->ExecuteBoundInsert(sql)) {
        return DB_ExecuteQuery(sql.c_str());
    }
    NAX_TRACE(kClass, "DB_ExecuteQuery: '%s', result: %d\n", sql.c_str(), 1);
    return true;
}

bool CDBProcessor::DB_ExecuteQuery(const char* sql, std::shared_ptr<IRecordset>& recordset) try {
    {
        const std::lock_guard lock(*m_errorMutex);
        if (m_database == nullptr || !m_database->ExecuteQuery(sql, recordset)) {
            const bool failed =
                Error(kQueryError, std::string("Failed execute query : ").append(sql));
            NAX_TRACE_ERROR(kClass, "DB_ExecuteQuery: %s, result: %d, pRecordset: %d\n", sql,
                            static_cast<int>(failed), static_cast<int>(recordset != nullptr));
            return false;
        }
    }
    NAX_TRACE(kClass, "DB_ExecuteQuery: %s, result: %d, pRecordset: %d\n", sql, 1,
              static_cast<int>(recordset != nullptr));
    return true;
} catch (...) {
    return FailWithoutMemory();
}

bool CDBProcessor::Error(const char* errorBlock, const std::string& message) {
    const std::lock_guard lock(*m_errorMutex);
    const CStringA cause = m_database == nullptr ? CStringA() : m_database->GetLastError();
    return Error(errorBlock, message, cause.GetString());
}

bool CDBProcessor::Error(const char* errorBlock, const std::string& message, const char* cause) {
    const std::lock_guard lock(*m_errorMutex);
    std::string text = errorBlock;
    text.append("Database: ").append(GetDatabaseFileName()).append("\n");
    text.append(message).append("\n");
    text.append("SQLite error: ").append(cause).append("\n===========\n");
    m_lastDBError = std::move(text);
    NAX_TRACE_ERROR(kClass, "%s\n", m_lastDBError.c_str());
    return false;
}

} // namespace Nax::FrontEnd::XMLDB
