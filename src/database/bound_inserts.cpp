// SPDX-License-Identifier: Apache-2.0
#include "database/bound_inserts.h"

#include <cstddef>

#include "database/sqlite_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

// A queue holds a handful of forms; more than this means that the texts are not of a kind that
// binding helps, and the statements would only pile up.
constexpr std::size_t kMaxStatements = 64;

} // namespace

void CBoundInserts::SFinalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

bool CBoundInserts::Execute(sqlite3* connection, std::string_view sql) {
    if (!m_insert.Parse(sql)) {
        return false;
    }
    sqlite3_stmt* statement = FindStatement(connection);
    if (statement == nullptr) {
        return false;
    }
    const bool done = Bind(statement) && Noted(sqlite3_step(statement)) == SQLITE_DONE;
    sqlite3_reset(statement);
    return done;
}

void CBoundInserts::Clear() {
    m_lastStatement = nullptr;
    m_lastKey.clear();
    m_statements.clear();
}

sqlite3_stmt* CBoundInserts::FindStatement(sqlite3* connection) {
    std::string key(m_insert.GetPrefix());
    for (std::size_t value = 0; value < m_insert.GetLiterals().size(); ++value) {
        key += value == 0 ? "?" : ",?";
    }
    key += ')';
    if (key == m_lastKey) {
        return m_lastStatement;
    }
    auto found = m_statements.find(key);
    if (found == m_statements.end()) {
        if (m_statements.size() >= kMaxStatements) {
            return nullptr;
        }
        sqlite3_stmt* prepared = nullptr;
        if (Noted(sqlite3_prepare_v3(connection, key.c_str(), -1, SQLITE_PREPARE_PERSISTENT,
                                     &prepared, nullptr)) != SQLITE_OK) {
            return nullptr;
        }
        found = m_statements.emplace(key, Statement(prepared)).first;
    }
    m_lastKey = std::move(key);
    m_lastStatement = found->second.get();
    return m_lastStatement;
}

bool CBoundInserts::Bind(sqlite3_stmt* statement) const {
    int parameter = 0;
    for (const CInsertStatement::SLiteral& literal : m_insert.GetLiterals()) {
        ++parameter;
        int result = SQLITE_OK;
        switch (literal.kind) {
            case CInsertStatement::EKind::Null:
                result = sqlite3_bind_null(statement, parameter);
                break;
            case CInsertStatement::EKind::Integer:
                result = sqlite3_bind_int64(statement, parameter, literal.number);
                break;
            case CInsertStatement::EKind::Text: {
                const std::string_view text = m_insert.GetText(literal);
                // Static: the text outlives the step, and every parameter is bound anew each time.
                result = sqlite3_bind_text64(statement, parameter, text.data(), text.size(),
                                             SQLITE_STATIC, SQLITE_UTF8);
                break;
            }
        }
        if (Noted(result) != SQLITE_OK) {
            return false;
        }
    }
    return true;
}

} // namespace Nax::FrontEnd::XMLDB
