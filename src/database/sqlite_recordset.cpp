// SPDX-License-Identifier: Apache-2.0
#include "database/sqlite_recordset.h"

#include "database/storage_failures.h"

#include <cstdlib>
#include <cstring>

#include "database/sqlite_memory.h"

namespace Nax::FrontEnd::XMLDB {

CSQLiteRecordset::~CSQLiteRecordset() {
    sqlite3_finalize(m_statement);
}

bool CSQLiteRecordset::GetBlob(int column, void*& data, int& size) {
    // The blob first: asking for the bytes of a converted value would move it.
    const void* blob = sqlite3_column_blob(m_statement, column);
    size = sqlite3_column_bytes(m_statement, column);
    if (size < 1) {
        return true;
    }
    void* copy = std::malloc(static_cast<std::size_t>(size));
    if (copy == nullptr || blob == nullptr) {
        std::free(copy);
        NoteFailedAllocation();
        return false;
    }
    std::memcpy(copy, blob, static_cast<std::size_t>(size));
    data = copy;
    return true;
}

bool CSQLiteRecordset::GetBlob(const char* name, void*& data, int& size) {
    return GetBlob(GetColumnIndex(name), data, size);
}

CStringA CSQLiteRecordset::GetString(int column) {
    const unsigned char* text = sqlite3_column_text(m_statement, column);
    if (text == nullptr) {
        NoteConnection(m_statement);
        return {};
    }
    return {reinterpret_cast<const char*>(text), sqlite3_column_bytes(m_statement, column)};
}

CStringA CSQLiteRecordset::GetString(const char* name) {
    return GetString(GetColumnIndex(name));
}

int CSQLiteRecordset::GetInt(int column) {
    return sqlite3_column_int(m_statement, column);
}

int CSQLiteRecordset::GetInt(const char* name) {
    return GetInt(GetColumnIndex(name));
}

double CSQLiteRecordset::GetDouble(int column) {
    return sqlite3_column_double(m_statement, column);
}

double CSQLiteRecordset::GetDouble(const char* name) {
    return GetDouble(GetColumnIndex(name));
}

bool CSQLiteRecordset::IsNull(int column) {
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

bool CSQLiteRecordset::IsInteger(int column) {
    return sqlite3_column_type(m_statement, column) == SQLITE_INTEGER;
}

bool CSQLiteRecordset::IsFloat(int column) {
    return sqlite3_column_type(m_statement, column) == SQLITE_FLOAT;
}

bool CSQLiteRecordset::IsTextOrBlob(int column) {
    const int type = sqlite3_column_type(m_statement, column);
    return type == SQLITE_TEXT || type == SQLITE_BLOB;
}

bool CSQLiteRecordset::IsOpen() {
    return m_statement != nullptr;
}

CStringA CSQLiteRecordset::GetColumnName(int column) {
    return m_statement == nullptr ? CStringA() : CStringA(sqlite3_column_name(m_statement, column));
}

int CSQLiteRecordset::GetColumnCount() {
    return sqlite3_column_count(m_statement);
}

int CSQLiteRecordset::GetColumnIndex(const char* name) {
    const int count = GetColumnCount();
    for (int column = 0; column < count; ++column) {
        if (GetColumnName(column).CompareNoCase(name) == 0) {
            return column;
        }
    }
    return -1;
}

bool CSQLiteRecordset::MoveNext() {
    const int result = Noted(sqlite3_step(m_statement));
    if (result == SQLITE_ROW || result == SQLITE_OK) {
        return true;
    }
    if (result != SQLITE_DONE && m_statement != nullptr) {
        CStorageFailures::Note(sqlite3_db_handle(m_statement));
    }
    return false;
}

void CSQLiteRecordset::Close() {
    if (m_statement != nullptr) {
        sqlite3_finalize(m_statement);
        m_statement = nullptr;
    }
}

} // namespace Nax::FrontEnd::XMLDB
