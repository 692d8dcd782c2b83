// SPDX-License-Identifier: Apache-2.0
// Parameters of CSQLiteDatabase's statements: names, binding, reset.
#include "database/sqlite_database.h"
#include "database/sqlite_recordset.h"

#include <cstring>
#include <limits>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kPrefixCharacters[] = "?:@$";

CSQLiteRecordset& Concrete(const std::shared_ptr<IRecordset>& recordset) {
    return dynamic_cast<CSQLiteRecordset&>(*recordset);
}

bool IsNameEnd(char character) {
    return character == '\t' || character == '\n' || character == '\r' || character == ' ';
}

/// Name that begins behind the prefix character at `start` and is ended by white space at `end`.
/// The count is the absolute position before the white space, not the name's own length, so a
/// name in the middle of a text runs on; callers know it so.
CStringA NameEndedAt(const CStringA& sql, int start, int end) {
    return start == end - 1 ? CStringA() : sql.Mid(start + 1, end - 1);
}

} // namespace

bool CSQLiteDatabase::CheckParameterIndex(const std::shared_ptr<IRecordset>& recordset,
                                          unsigned index) {
    if (index == std::numeric_limits<unsigned>::max()) {
        return Fail("Wrong parameter index: (-1)");
    }
    if (!recordset->IsOpen()) {
        return Fail("The recordset is closed");
    }
    return true;
}

bool CSQLiteDatabase::GetParameterCount(const std::shared_ptr<IRecordset>& recordset, int& count) {
    const bool open = recordset->IsOpen();
    if (!open) {
        Fail("The recordset is not prepared");
    }
    count = sqlite3_bind_parameter_count(Concrete(recordset).m_statement);
    return open;
}

bool CSQLiteDatabase::GetParameterName(const std::shared_ptr<IRecordset>& recordset, int index,
                                       CStringA& name) {
    Fail("");
    name.Empty();
    if (!CheckParameterIndex(recordset, static_cast<unsigned>(index))) {
        return false;
    }
    name = CStringA(sqlite3_bind_parameter_name(Concrete(recordset).m_statement, index + 1));
    if (name.GetLength() > 1 && std::strchr(kPrefixCharacters, name.GetAt(0)) != nullptr) {
        name = name.Mid(1);
    }
    return true;
}

bool CSQLiteDatabase::GetParameterIndex(const std::shared_ptr<IRecordset>& recordset,
                                        const CStringA& name, int& index) {
    if (!CheckParameterIndex(recordset, static_cast<unsigned>(index))) {
        return false;
    }
    if (name.IsEmpty()) {
        return Fail("Cannot find the index of the unnamed parameter when searching by name");
    }
    index = sqlite3_bind_parameter_index(Concrete(recordset).m_statement, name) - 1;
    return index >= 0;
}

bool CSQLiteDatabase::FinishBind(int result) {
    GetLastError();
    return result == SQLITE_OK;
}

bool CSQLiteDatabase::BindDouble(const std::shared_ptr<IRecordset>& recordset, int index,
                                 double value) {
    return CheckParameterIndex(recordset, static_cast<unsigned>(index)) &&
           FinishBind(sqlite3_bind_double(Concrete(recordset).m_statement, index + 1, value));
}

bool CSQLiteDatabase::BindText(const std::shared_ptr<IRecordset>& recordset, int index,
                               CStringA& text) {
    return CheckParameterIndex(recordset, static_cast<unsigned>(index)) &&
           FinishBind(sqlite3_bind_text(Concrete(recordset).m_statement, index + 1, text, -1,
                                        SQLITE_TRANSIENT));
}

bool CSQLiteDatabase::BindInt64(const std::shared_ptr<IRecordset>& recordset, int index,
                                std::int64_t value) {
    return CheckParameterIndex(recordset, static_cast<unsigned>(index)) &&
           FinishBind(sqlite3_bind_int64(Concrete(recordset).m_statement, index + 1, value));
}

bool CSQLiteDatabase::BindInt(const std::shared_ptr<IRecordset>& recordset, int index, int value) {
    return CheckParameterIndex(recordset, static_cast<unsigned>(index)) &&
           FinishBind(sqlite3_bind_int(Concrete(recordset).m_statement, index + 1, value));
}

bool CSQLiteDatabase::ResetRecordset(const std::shared_ptr<IRecordset>& recordset) {
    if (!recordset->IsOpen()) {
        return Fail("Recordset not opened");
    }
    return FinishBind(sqlite3_reset(Concrete(recordset).m_statement));
}

bool CSQLiteDatabase::ParseParameterNames(const CStringA& sql, std::vector<CStringA>& names) {
    names.clear();
    const int length = sql.GetLength();
    int start = -1;
    bool inDoubleQuotes = false;
    bool inSingleQuotes = false;
    for (int i = 0; i < length; ++i) {
        const char character = sql.GetAt(i);
        if (character == '"') {
            inDoubleQuotes = inDoubleQuotes != !inSingleQuotes;
        } else if (character == '\'') {
            inSingleQuotes = inSingleQuotes != !inDoubleQuotes;
        } else if (character != 0 && std::strchr(kPrefixCharacters, character) != nullptr) {
            if (!inSingleQuotes && !inDoubleQuotes) {
                start = i;
            }
        } else if (IsNameEnd(character) && start != -1) {
            names.push_back(NameEndedAt(sql, start, i));
            start = -1;
        }
    }
    if (start != -1) {
        names.push_back(start + 1 >= length - 1 ? CStringA() : sql.Mid(start + 1));
    }
    return true;
}

} // namespace Nax::FrontEnd::XMLDB
