// SPDX-License-Identifier: Apache-2.0
#include "database/sqlite_database.h"

#include "database/sqlite_record_insert.h"
#include "database/sqlite_recordset.h"
#include "database/storage_failures.h"

#include <naxfewxmldb/regexp.h>

#include "database/sqlite_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kNotConnected[] = "Not connected to the database";

/// Keeps other threads' statements off a connection while its message is read: they may replace the
/// message, and with it the memory that it stands in.
class CConnectionGuard {
public:
    explicit CConnectionGuard(sqlite3* connection)
        : m_mutex(connection == nullptr ? nullptr : sqlite3_db_mutex(connection)) {
        sqlite3_mutex_enter(m_mutex);
    }
    CConnectionGuard(const CConnectionGuard&) = delete;
    CConnectionGuard& operator=(const CConnectionGuard&) = delete;
    ~CConnectionGuard() { sqlite3_mutex_leave(m_mutex); }

private:
    sqlite3_mutex* m_mutex;
};

CStringA ReadMessage(sqlite3* connection) {
    const CConnectionGuard guard(connection);
    return sqlite3_errmsg(connection);
}

} // namespace

std::atomic<bool> CSQLiteDatabase::s_transactionStarted = false;

CSQLiteDatabase::CSQLiteDatabase() {
    s_transactionStarted = false;
}

bool CSQLiteDatabase::Fail(const CStringA& message) {
    const std::lock_guard lock(m_lastErrorMutex);
    m_lastError = message;
    return false;
}

bool CSQLiteDatabase::Open(const char* path, const char* /*user*/, const char* /*password*/) {
    CStringA message;
    sqlite3* connection = nullptr;
    if (Noted(sqlite3_open(path, &connection)) != SQLITE_OK) {
        m_openFailure =
            connection == nullptr ? "out of memory" : CStorageFailures::Describe(connection);
        sqlite3_close(connection);
        m_connection = nullptr;
        message.Format("Failed to open database: '%s'", path);
        return Fail(message);
    }
    CStorageFailures::Forget(connection);
    m_openFailure.clear();
    // Link rows carry their values in double quotes, which a build may not take as texts.
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
    m_fileName = path;
    const int registered = Noted(sqlite3_regexp_init(connection));
    if (registered != SQLITE_OK) {
        m_connection = nullptr;
        message.Format("Failed to initialize regexp. Error: '%d'", registered);
        return Fail(message);
    }
    m_connection = connection;
    return true;
}

bool CSQLiteDatabase::Close() {
    if (!IsConnected()) {
        return false;
    }
    ReleaseBoundInserts();
    CStorageFailures::Forget(m_connection);
    const bool closed = sqlite3_close(m_connection) == SQLITE_OK;
    if (closed) {
        CStringA message;
        message.Format("Failed to sqlite3_close. Error: '%d'", static_cast<int>(closed));
        Fail(message);
    }
    m_connection = nullptr;
    s_transactionStarted = false;
    return closed;
}

bool CSQLiteDatabase::IsConnected() {
    return m_connection != nullptr;
}

bool CSQLiteDatabase::Execute(const CStringA& sql) {
    if (!IsConnected()) {
        return false;
    }
    char* message = nullptr;
    if (Noted(sqlite3_exec(m_connection, sql, nullptr, nullptr, &message)) == SQLITE_OK) {
        return true;
    }
    CStorageFailures::Note(m_connection);
    Fail(message);
    sqlite3_free(message);
    return false;
}

bool CSQLiteDatabase::ExecuteQuery(const char* sql, std::shared_ptr<IRecordset>& recordset) {
    if (!IsConnected()) {
        return Fail(kNotConnected);
    }
    const auto created = std::make_shared<CSQLiteRecordset>();
    recordset = created;
    CStringA message;
    {
        const CConnectionGuard guard(m_connection);
        if (Noted(sqlite3_prepare_v2(m_connection, sql, -1, &created->m_statement, nullptr)) ==
            SQLITE_OK) {
            return true;
        }
        message = sqlite3_errmsg(m_connection);
        CStorageFailures::Note(m_connection);
    }
    Fail(message);
    created->Close();
    recordset.reset();
    return false;
}

bool CSQLiteDatabase::BeginTransaction() {
    if (!IsConnected()) {
        return Fail(kNotConnected);
    }
    const bool started = Execute("begin transaction;");
    s_transactionStarted = started;
    return started;
}

bool CSQLiteDatabase::Commit() {
    return EndTransaction("commit;");
}

bool CSQLiteDatabase::Rollback() {
    return EndTransaction("rollback;");
}

bool CSQLiteDatabase::EndTransaction(const char* sql) {
    if (!IsConnected()) {
        return Fail(kNotConnected);
    }
    if (!s_transactionStarted) {
        return Fail("No transaction started");
    }
    if (!Execute(sql)) {
        return false;
    }
    s_transactionStarted = false;
    return true;
}

bool CSQLiteDatabase::IsTransactionStarted() {
    return s_transactionStarted;
}

bool CSQLiteDatabase::QueryCapability() {
    return true;
}

void* CSQLiteDatabase::GetExtension() {
    return nullptr;
}

CStringA CSQLiteDatabase::GetLastError() {
    // Read before the lock is taken: a thread with a lock of ours may wait for the connection.
    // Without a connection SQLite only knows that there is none, and says "out of memory".
    CStringA message = m_connection == nullptr && !m_openFailure.empty()
                           ? CStringA(m_openFailure.c_str())
                           : ReadMessage(m_connection);
    const std::lock_guard lock(m_lastErrorMutex);
    m_lastError = message;
    return message;
}

bool CSQLiteDatabase::InsertBlob(const char* sql, const void* data, int size) {
    // The comparison of the finalizer's result with 101 is the operation's contract: it reports
    // false although the row went in.
    sqlite3_stmt* statement = nullptr;
    bool inserted = false;
    if (sqlite3_prepare_v2(m_connection, sql, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_bind_blob(statement, 1, data, size, SQLITE_STATIC) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_DONE) {
        inserted = sqlite3_finalize(statement) == SQLITE_DONE;
        statement = nullptr;
    }
    if (!inserted) {
        Noted(sqlite3_errcode(m_connection));
        GetLastError();
    }
    sqlite3_finalize(statement);
    return inserted;
}

bool CSQLiteDatabase::ExecuteBoundInsert(std::string_view sql) {
    return IsConnected() && m_boundInserts.Execute(m_connection, sql);
}

void CSQLiteDatabase::ReleaseBoundInserts() {
    m_boundInserts.Clear();
}

std::string CSQLiteDatabase::GetStorageFailure() {
    return IsConnected() ? CStorageFailures::First(m_connection) : std::string();
}

std::unique_ptr<IRecordInsert> CSQLiteDatabase::PrepareRecordInsert(const std::string& sql) {
    return IsConnected() ? CSQLiteRecordInsert::Prepare(m_connection, sql) : nullptr;
}

} // namespace Nax::FrontEnd::XMLDB
