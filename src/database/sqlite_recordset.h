// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/database.h>

struct sqlite3_stmt;

namespace Nax::FrontEnd::XMLDB {

/// A statement of CSQLiteDatabase. Closed until ExecuteQuery prepares it; Close and destruction
/// finalise the statement.
class CSQLiteRecordset : public virtual IRecordset {
public:
    CSQLiteRecordset() = default;
    ~CSQLiteRecordset() override;
    CSQLiteRecordset(const CSQLiteRecordset&) = delete;
    CSQLiteRecordset& operator=(const CSQLiteRecordset&) = delete;

    bool GetBlob(int column, void*& data, int& size) override;
    bool GetBlob(const char* name, void*& data, int& size) override;
    CStringA GetString(int column) override;
    CStringA GetString(const char* name) override;
    int GetInt(int column) override;
    int GetInt(const char* name) override;
    double GetDouble(int column) override;
    double GetDouble(const char* name) override;
    bool IsNull(int column) override;
    bool IsInteger(int column) override;
    bool IsFloat(int column) override;
    bool IsTextOrBlob(int column) override;
    bool IsOpen() override;
    CStringA GetColumnName(int column) override;
    int GetColumnCount() override;
    int GetColumnIndex(const char* name) override;
    bool MoveNext() override;
    void Close() override;

private:
    // The connection's parameter operations work on the statement itself.
    friend class CSQLiteDatabase;

    sqlite3_stmt* m_statement = nullptr;
};

} // namespace Nax::FrontEnd::XMLDB
