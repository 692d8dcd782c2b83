// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/text_types.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// One prepared statement and its current row.
///
/// Made by IDatabase::ExecuteQuery and owned by the caller, who releases it before closing the
/// connection: it does not keep the connection alive. One thread at a time.
///
/// Columns count from 0. Reading by a name that no column has, or past the last column, reads as
/// null: 0, or an empty text. Nothing throws except for want of memory.
class NAXFEWXMLDB_EXPORT IRecordset {
public:
    virtual ~IRecordset() = default;

    /// Copies the value into a buffer from malloc, which the caller frees; `data` stays untouched
    /// when `size` (in bytes) comes out below 1.
    virtual bool GetBlob(int column, void*& data, int& size) = 0;
    virtual bool GetBlob(const char* name, void*& data, int& size) = 0;
    virtual CStringA GetString(int column) = 0;
    virtual CStringA GetString(const char* name) = 0;
    virtual int GetInt(int column) = 0;
    virtual int GetInt(const char* name) = 0;
    virtual double GetDouble(int column) = 0;
    virtual double GetDouble(const char* name) = 0;
    virtual bool IsNull(int column) = 0;
    virtual bool IsInteger(int column) = 0;
    virtual bool IsFloat(int column) = 0;
    virtual bool IsTextOrBlob(int column) = 0;
    virtual bool IsOpen() = 0;
    virtual CStringA GetColumnName(int column) = 0;
    virtual int GetColumnCount() = 0;
    /// First column with that name, without regard to case; -1 when there is none.
    virtual int GetColumnIndex(const char* name) = 0;
    /// Runs the statement up to its next row. False at the end and on any failure.
    virtual bool MoveNext() = 0;
    virtual void Close() = 0;
};

/// A connection to one SQLite database.
///
/// Every operation reports success as its result and leaves the text of the latest failure for
/// GetLastError; a failure keeps the connection open. SQL, names and values are UTF-8. Parameters
/// count from 0.
///
/// Threads: statements may run from several threads, which SQLite serialises; each recordset
/// belongs to one of them. The "transaction started" flag is shared by all connections of the
/// process, and making or closing any of them clears it: Commit and Rollback then fail with "No
/// transaction started", and the transaction stays open. Begin and end transactions here from one
/// connection at a time; CDBProcessor and CRulesProcessor commit their own in any case.
class NAXFEWXMLDB_EXPORT IDatabase {
public:
    virtual ~IDatabase() = default;

    /// False when the recordset is closed; `count` is then 0.
    virtual bool GetParameterCount(const std::shared_ptr<IRecordset>& recordset, int& count) = 0;
    /// Name without its prefix character; empty (and true) for an anonymous parameter.
    virtual bool GetParameterName(const std::shared_ptr<IRecordset>& recordset, int index,
                                  CStringA& name) = 0;
    /// `name` carries its prefix character. `index` must not be -1 on entry; it is -1 when the
    /// name is unknown.
    virtual bool GetParameterIndex(const std::shared_ptr<IRecordset>& recordset,
                                   const CStringA& name, int& index) = 0;
    virtual bool BindDouble(const std::shared_ptr<IRecordset>& recordset, int index,
                            double value) = 0;
    virtual bool BindText(const std::shared_ptr<IRecordset>& recordset, int index,
                          CStringA& text) = 0;
    virtual bool BindInt64(const std::shared_ptr<IRecordset>& recordset, int index,
                           std::int64_t value) = 0;
    virtual bool BindInt(const std::shared_ptr<IRecordset>& recordset, int index, int value) = 0;
    /// Always true.
    virtual bool QueryCapability() = 0;
    /// Makes the statement ready to run again; bindings stay.
    virtual bool ResetRecordset(const std::shared_ptr<IRecordset>& recordset) = 0;
    /// Runs `sql` with its first parameter bound to the bytes. The result is not to be relied on:
    /// it is false also when the row went in.
    virtual bool InsertBlob(const char* sql, const void* data, int size) = 0;
    /// Prepares the first statement of `sql`. On failure `recordset` is empty, except that it is
    /// left alone when there is no connection.
    virtual bool ExecuteQuery(const char* sql, std::shared_ptr<IRecordset>& recordset) = 0;
    /// Runs every statement of `sql`, up to the first that fails.
    virtual bool Execute(const CStringA& sql) = 0;
    virtual bool Close() = 0;
    virtual bool IsConnected() = 0;
    /// Opens or creates the database file. The two further texts are ignored.
    virtual bool Open(const char* path, const char* user, const char* password) = 0;
    virtual bool BeginTransaction() = 0;
    virtual bool Commit() = 0;
    virtual bool Rollback() = 0;
    virtual bool IsTransactionStarted() = 0;
    /// Always null.
    virtual void* GetExtension() = 0;
    /// Takes the connection's current message as the last error and returns it.
    virtual CStringA GetLastError() = 0;
    virtual bool CheckParameterIndex(const std::shared_ptr<IRecordset>& recordset,
                                     unsigned index) = 0;
    /// Finds parameter names in SQL text without asking SQLite. A name ends at white space or at
    /// the end of the text only; a name that ends at white space runs on beyond it.
    virtual bool ParseParameterNames(const CStringA& sql, std::vector<CStringA>& names) = 0;
};

} // namespace Nax::FrontEnd::XMLDB
