// SPDX-License-Identifier: Apache-2.0
#include "database/table_definitions.h"

#include "database/sqlite_memory.h"

#include <new>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kOther[] = "another statement than CREATE TABLE and DROP TABLE";

/// Null for what the making and dropping of tables asks for.
const char* Refusal(int action, std::string_view object, std::string_view schema) {
    switch (action) {
        case SQLITE_CREATE_TABLE:
        case SQLITE_DROP_TABLE:
            return schema == "main" ? nullptr : kOther;
        case SQLITE_READ:
        case SQLITE_DELETE: // of the rows of a table that is dropped
            return nullptr;
        case SQLITE_INSERT:
        case SQLITE_UPDATE:
            return object.starts_with("sqlite_") ? nullptr : kOther;
        case SQLITE_CREATE_INDEX: // of a key
            return object.starts_with("sqlite_autoindex_") ? nullptr : kOther;
        case SQLITE_FUNCTION:
            return "a function";
        case SQLITE_SELECT:
            return "a query";
        default:
            return kOther;
    }
}

} // namespace

void CTableDefinitions::SClose::operator()(sqlite3* connection) const noexcept {
    sqlite3_close(connection);
}

CTableDefinitions::CTableDefinitions() {
    sqlite3* connection = nullptr;
    const int code = Noted(sqlite3_open(":memory:", &connection));
    m_connection.reset(connection);
    if (code != SQLITE_OK) {
        throw std::bad_alloc();
    }
}

int CTableDefinitions::Authorize(void* self, int action, const char* object, const char* /*second*/,
                                 const char* schema, const char* /*trigger*/) noexcept {
    const char* const refusal =
        Refusal(action, object == nullptr ? "" : object, schema == nullptr ? "" : schema);
    if (refusal == nullptr) {
        return SQLITE_OK;
    }
    static_cast<CTableDefinitions*>(self)->m_asked = refusal;
    return SQLITE_DENY;
}

bool CTableDefinitions::Result(int code) {
    if (code == SQLITE_OK) {
        return true;
    }
    m_failure = sqlite3_errmsg(m_connection.get());
    if (*m_asked != 0) { // the code is not always SQLITE_AUTH
        m_refused = std::string("not allowed: ") + m_asked;
        m_failure = m_refused;
    }
    return false;
}

bool CTableDefinitions::Define(const std::string& sql) {
    m_asked = "";
    sqlite3_set_authorizer(m_connection.get(), &Authorize, this);
    return Result(Noted(sqlite3_exec(m_connection.get(), sql.c_str(), nullptr, nullptr, nullptr)));
}

bool CTableDefinitions::CanInsert(const std::string& sql) {
    // The statement is ours, and only what a table's own definition adds to it may be refused.
    sqlite3_set_authorizer(
        m_connection.get(),
        [](void* self, int action, const char* object, const char* second, const char* schema,
           const char* trigger) {
            return action == SQLITE_INSERT
                       ? SQLITE_OK
                       : Authorize(self, action, object, second, schema, trigger);
        },
        this);
    m_asked = "";
    sqlite3_stmt* statement = nullptr;
    const int code =
        Noted(sqlite3_prepare_v2(m_connection.get(), sql.c_str(), -1, &statement, nullptr));
    sqlite3_finalize(statement);
    return Result(code);
}

} // namespace Nax::FrontEnd::XMLDB
