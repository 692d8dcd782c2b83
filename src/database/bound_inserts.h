// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database/insert_statement.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Nax::FrontEnd::XMLDB {

/// Prepared forms of the plain inserts that a connection has run: one statement for each prefix
/// and number of values. Binding costs about a quarter of parsing a text statement of a
/// 62-column table.
///
/// Belongs to one open connection and must be cleared before that closes.
class CBoundInserts {
public:
    /// See IBoundInsertRunner::ExecuteBoundInsert.
    bool Execute(sqlite3* connection, std::string_view sql);
    void Clear();

private:
    struct SFinalizer {
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, SFinalizer>;

    sqlite3_stmt* FindStatement(sqlite3* connection);
    bool Bind(sqlite3_stmt* statement) const;

    CInsertStatement m_insert;
    std::map<std::string, Statement, std::less<>> m_statements;
    std::string m_lastKey;
    sqlite3_stmt* m_lastStatement = nullptr;
};

} // namespace Nax::FrontEnd::XMLDB
