// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database/bound_insert_runner.h"
#include "database/bound_inserts.h"

#include <naxfewxmldb/database.h>

#include <atomic>
#include <mutex>

struct sqlite3;

namespace Nax::FrontEnd::XMLDB {

class CSQLiteRecordset;

/// The connection on SQLite. Closed until Open; the owner calls Close, the destructor does not.
///
/// The message of the latest failure is guarded, because export threads share one connection.
class CSQLiteDatabase : public virtual IDatabase, public IBoundInsertRunner {
public:
    CSQLiteDatabase();
    ~CSQLiteDatabase() override = default;
    CSQLiteDatabase(const CSQLiteDatabase&) = delete;
    CSQLiteDatabase& operator=(const CSQLiteDatabase&) = delete;

    bool GetParameterCount(const std::shared_ptr<IRecordset>& recordset, int& count) override;
    bool GetParameterName(const std::shared_ptr<IRecordset>& recordset, int index,
                          CStringA& name) override;
    bool GetParameterIndex(const std::shared_ptr<IRecordset>& recordset, const CStringA& name,
                           int& index) override;
    bool BindDouble(const std::shared_ptr<IRecordset>& recordset, int index, double value) override;
    bool BindText(const std::shared_ptr<IRecordset>& recordset, int index, CStringA& text) override;
    bool BindInt64(const std::shared_ptr<IRecordset>& recordset, int index,
                   std::int64_t value) override;
    bool BindInt(const std::shared_ptr<IRecordset>& recordset, int index, int value) override;
    bool QueryCapability() override;
    bool ResetRecordset(const std::shared_ptr<IRecordset>& recordset) override;
    bool InsertBlob(const char* sql, const void* data, int size) override;
    bool ExecuteQuery(const char* sql, std::shared_ptr<IRecordset>& recordset) override;
    bool Execute(const CStringA& sql) override;
    bool Close() override;
    bool IsConnected() override;
    bool Open(const char* path, const char* user, const char* password) override;
    bool BeginTransaction() override;
    bool Commit() override;
    bool Rollback() override;
    bool IsTransactionStarted() override;
    void* GetExtension() override;
    CStringA GetLastError() override;
    bool CheckParameterIndex(const std::shared_ptr<IRecordset>& recordset, unsigned index) override;
    bool ParseParameterNames(const CStringA& sql, std::vector<CStringA>& names) override;

    bool ExecuteBoundInsert(std::string_view sql) override;
    void ReleaseBoundInserts() override;
    std::string GetStorageFailure() override;
    std::unique_ptr<IRecordInsert> PrepareRecordInsert(const std::string& sql) override;

    /// Null when closed; stays this object's.
    sqlite3* GetHandle() const { return m_connection; }

private:
    bool Fail(const CStringA& message);
    bool EndTransaction(const char* sql);
    bool FinishBind(int result);

    // Shared by all connections: only one transaction may be in progress in the process.
    static std::atomic<bool> s_transactionStarted;

    CStringA m_fileName;
    CStringA m_lastError;
    std::string m_openFailure; ///< why the latest Open failed; empty when it did not
    sqlite3* m_connection = nullptr;
    std::mutex m_lastErrorMutex;
    CBoundInserts m_boundInserts;
};

} // namespace Nax::FrontEnd::XMLDB
