// SPDX-License-Identifier: Apache-2.0
// Schema creation, commit, post-update and housekeeping of the processor.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/memory.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include "database/bound_insert_runner.h"
#include "database/own_transaction.h"
#include "database/table_definitions.h"
#include "platform/files.h"
#include "processor/error_blocks.h"
#include "processor/operation_names.h"
#include "support/format.h"
#include "support/local_time.h"
#include "support/trace.h"

#include <array>
#include <filesystem>
#include <system_error>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CDBProcessor";
constexpr std::size_t kMostTables = 1000; // thousands of them take minutes
struct STableRename {
    const char* singular;
    const char* plural;
};

// In byte order of the singular names, which is the order of renaming.
constexpr std::array kTableRenames = {
    STableRename{"Include", "Files"},
    STableRename{"Item", "Items"},
    STableRename{"LDAP", "LDAPS"},
    STableRename{"Memo", "Memos"},
    STableRename{"Messageserver", "Messageservers"},
    STableRename{"Node", "Nodes"},
    STableRename{"Parameter", "Parameters"},
    STableRename{"Router", "Routers"},
    STableRename{"Service", "Services"},
    STableRename{"Webdispatcher", "Webdispatchers"},
    STableRename{"Workspace", "Workspaces"},
};

} // namespace

bool CDBProcessor::DB_Create_Scheme() {
    bool result = m_mapper != nullptr && m_mapper->MapToDDL();
    NAX_TRACE(kClass, "MapToDDL: %d\n", static_cast<int>(result));
    bool refused = false;
    if (const std::string fault = result ? FindTableFault(refused) : std::string(); refused) {
        return Error(kProcessError, "The tables cannot be made", fault.c_str());
    }
    if (result) {
        for (const std::string& statement : m_mapper->GetDDL()) {
            result = DB_AddQuery(statement.c_str());
        }
        for (const auto& [table, columns] : m_mapper->GetTables()) {
            m_insertPrefixes[table] = m_mapper->GetQueryBuilder().FormatInsertPrefix(table);
        }
    }
    m_dataMapped = false;
    NAX_TRACE(kClass, "DB_Create_Scheme: %d\n", static_cast<int>(result));
    return result;
}

std::string CDBProcessor::FindTableFault() const try {
    bool refused = false;
    return m_mapper == nullptr ? std::string("there is no schema") : FindTableFault(refused);
} catch (...) {
    return "out of memory";
}

std::string CDBProcessor::FindTableFault(bool& refused) const {
    if (m_mapper->GetDDL().size() > kMostTables) {
        refused = true;
        return Format("there are %d tables, and 1000 are allowed",
                      static_cast<int>(m_mapper->GetDDL().size()));
    }
    CTableDefinitions tables;
    std::string first;
    const auto note = [&](bool good, const std::string& what) {
        if (!good && (first.empty() || (tables.IsRefused() && !refused))) {
            first = what + ": " + tables.GetFailure();
        }
        refused = tables.IsRefused();
    };
    for (const std::string& statement : m_mapper->GetDDL()) {
        note(tables.Define(statement),
             "the table \"" + CQueryBuilder::ReadTableName(statement) + "\" cannot be made");
    }
    for (const STableRename& rename : kTableRenames) {
        const auto table = m_mapper->GetTables().find(rename.singular);
        if (table == m_mapper->GetTables().end() || table->second.empty()) {
            continue;
        }
        std::string values = "(NULL";
        for (std::size_t count = 1; count < table->second.size(); ++count) {
            values += ",NULL";
        }
        note(tables.CanInsert(m_mapper->GetQueryBuilder().FormatInsertPrefix(table->first) +
                              values + ')'),
             "the table \"" + table->first + "\" cannot be filled");
    }
    return first;
}

bool CDBProcessor::DB_Commit() {
    // A table may go without its new name, but not for want of memory.
    const std::uint64_t failedAllocations = GetFailedAllocations();
    if (m_mode != Transactional) {
        DB_Post_Update();
        m_dataMapped = true;
        // The mode is written as its text: a number there says nothing.
        NAX_TRACE(kClass, "DB_Commit: mode: %s\n", DBModeName(m_mode));
        return GetFailedAllocations() == failedAllocations;
    }
    const bool begun = m_directLoad || (m_database != nullptr && m_database->BeginTransaction());
    NAX_TRACE(kClass, "DB_Commit: BeginTransaction: %d\n", static_cast<int>(begun));
    if (!begun) {
        NAX_TRACE_ERROR(kClass, "DB_Commit: BeginTransaction failed\n");
        return false;
    }
    std::string failedSql = m_failedRecord;
    if (!failedSql.empty() || !RunQueue(failedSql)) {
        NAX_TRACE_ERROR(kClass, "DB_Commit: failed to execute query: \n%s\n", failedSql.c_str());
        return false;
    }
    m_directLoad = false;
    const bool committed = CommitOwnTransaction(*m_database);
    const CStringA cause = committed ? CStringA() : m_database->GetLastError();
    NAX_TRACE(kClass, "DB_Commit: Commit transaction: %d\n", static_cast<int>(committed));
    DB_Post_Update();
    m_pendingQueries.Clear();
    m_dataMapped = true;
    m_mode = Normal;
    if (!committed) {
        // The failures of the post-update follow from this one, which is what a reader needs.
        Error(kExecuteError, "Failed execute query : commit;", cause.GetString());
    }
    return committed && GetFailedAllocations() == failedAllocations;
}

bool CDBProcessor::RunQueue(std::string& failedSql) {
    auto* boundInserts = dynamic_cast<IBoundInsertRunner*>(m_database.get());
    const bool done = m_pendingQueries.ForEach([&](const std::string& sql) {
        if (DB_ExecuteQuery(sql, boundInserts)) {
            return true;
        }
        failedSql = sql;
        return false;
    });
    if (boundInserts != nullptr) {
        boundInserts->ReleaseBoundInserts();
    }
    return done;
}

bool CDBProcessor::BeginDirectLoad() {
    if (m_mode != Transactional || m_directLoad || m_database == nullptr ||
        !m_database->BeginTransaction()) {
        return false;
    }
    m_directLoad = true;
    if (RunQueue(m_failedRecord)) {
        m_pendingQueries.Clear();
    }
    return true;
}

void CDBProcessor::FailDirectLoad(const std::string& sql) {
    const bool failed = Error(kExecuteError, "Failed execute query : " + sql);
    NAX_TRACE_ERROR_AS(kClass, "DB_ExecuteQuery", "DB_ExecuteQuery: '%s', result: %d\n",
                       sql.c_str(), static_cast<int>(failed));
    m_failedRecord = sql;
}

bool CDBProcessor::DB_Post_Update() {
    DropAllViews();
    bool result = true;
    for (const STableRename& rename : kTableRenames) {
        const std::string sql = Format("DROP TABLE IF EXISTS %s;\nALTER TABLE %s RENAME TO %s",
                                       rename.plural, rename.singular, rename.plural);
        result = DB_ExecuteQuery(sql.c_str());
        if (!result) {
            break;
        }
    }
    NAX_TRACE(kClass, "DB_Post_Update: %d\n", static_cast<int>(result));
    return result;
}

bool CDBProcessor::DropAllViews() {
    std::vector<std::string> names;
    std::shared_ptr<IRecordset> views;
    if (DB_ExecuteQuery("SELECT name FROM sqlite_master WHERE type = 'view'", views)) {
        while (views->MoveNext()) {
            names.emplace_back(views->GetString("name").GetString());
        }
        // An open cursor on the catalogue would lock it against the drops.
        views->Close();
    }
    for (const std::string& name : names) {
        DB_ExecuteQuery(("DROP VIEW IF EXISTS " + name).c_str());
    }
    return true;
}

bool CDBProcessor::DB_Clenup() {
    bool result = true;
    for (const auto& [table, prefix] : m_insertPrefixes) {
        const std::string sql = "DELETE FROM " + table;
        result = m_database != nullptr && m_database->Execute(sql.c_str());
        NAX_TRACE(kClass, "DB_Clenup: %s, result: %d\n", sql.c_str(), static_cast<int>(result));
        if (!result) {
            Error(kCleanupError, "Failed execute query : " + sql);
            break;
        }
    }
    return result;
}

bool CDBProcessor::DB_CreateBackup(const std::string& dbFile, bool deleteSource) const {
    const std::string backup = dbFile + "_" + FormatLocalTime("%d-%m-%Y %H-%M-%S") + "_.bak";
    bool result = CopyFileA(dbFile.c_str(), backup.c_str(), false);
    if (!result) {
        const DWORD code = ::GetLastError();
        NAX_TRACE_ERROR(kClass, "DB_Backup: CopyFile failed !!! last error: %d, %s\n",
                        static_cast<int>(code), ErrorMessageWin32(code).c_str());
    }
    if (deleteSource) {
        // Without a copy (the disk may be full) the file itself becomes the backup.
        std::error_code failure = std::make_error_code(std::errc::invalid_argument);
        std::error_code ignored;
        if (!result && std::filesystem::is_regular_file(dbFile, ignored)) {
            std::filesystem::rename(dbFile, backup, failure);
        }
        result = !failure || DeleteFileA(dbFile.c_str());
        if (!result) {
            const DWORD code = ::GetLastError();
            NAX_TRACE_ERROR(kClass, "DB_Backup: DeleteFile failed !!! last error: %d, %s\n",
                            static_cast<int>(code), ErrorMessageWin32(code).c_str());
        }
    }
    NAX_TRACE(kClass, "DB_Backup: DB file: '%s', result: %d\n", dbFile.c_str(),
              static_cast<int>(result));
    return result;
}

std::string CDBProcessor::ErrorMessageWin32(unsigned long code) const {
    return SystemMessage(static_cast<DWORD>(code));
}

} // namespace Nax::FrontEnd::XMLDB
