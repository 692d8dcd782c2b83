// SPDX-License-Identifier: Apache-2.0
#include "database/insert_statement.h"

#include <charconv>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view kInsert = "INSERT INTO ";
constexpr std::string_view kValues = ") VALUES (";
constexpr std::size_t kMaxDigits = 18;

bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

void SkipBlanks(std::string_view sql, std::size_t& at) {
    while (at < sql.size() && sql[at] == ' ') {
        ++at;
    }
}

} // namespace

bool CInsertStatement::Parse(std::string_view sql) {
    m_literals.clear();
    m_text.clear();
    // SQLite reads a statement up to its first zero.
    if (sql.find('\0') != std::string_view::npos || !ParsePrefix(sql)) {
        return false;
    }
    std::size_t at = m_prefix.size();
    for (;;) {
        SkipBlanks(sql, at);
        if (!ParseLiteral(sql, at)) {
            return false;
        }
        SkipBlanks(sql, at);
        if (at >= sql.size()) {
            return false;
        }
        const char separator = sql[at++];
        if (separator == ')') {
            return at == sql.size();
        }
        if (separator != ',') {
            return false;
        }
    }
}

bool CInsertStatement::ParsePrefix(std::string_view sql) {
    // Runs of inserts share their prefix, so the last one is tried before anything is looked at.
    if (!m_lastPrefix.empty() && sql.starts_with(m_lastPrefix)) {
        m_prefix = sql.substr(0, m_lastPrefix.size());
        return true;
    }
    if (!sql.starts_with(kInsert)) {
        return false;
    }
    std::size_t at = kInsert.size();
    const std::size_t table = at;
    while (at < sql.size() && IsNameCharacter(sql[at])) {
        ++at;
    }
    if (at == table || sql.substr(at, 2) != " (") {
        return false;
    }
    // Names only: a literal in the column list would make the prefix end elsewhere.
    at += 2;
    while (at < sql.size() && (IsNameCharacter(sql[at]) || sql[at] == ',' || sql[at] == '"')) {
        ++at;
    }
    if (sql.substr(at, kValues.size()) != kValues) {
        return false;
    }
    m_prefix = sql.substr(0, at + kValues.size());
    m_lastPrefix = m_prefix;
    return true;
}

bool CInsertStatement::ParseLiteral(std::string_view sql, std::size_t& at) {
    if (at >= sql.size()) {
        return false;
    }
    if (sql[at] == '\'') {
        return ParseText(sql, at);
    }
    if (sql.substr(at, 4) == "NULL") {
        m_literals.push_back({EKind::Null, 0, 0, 0});
        at += 4;
        return true;
    }
    return ParseInteger(sql, at);
}

bool CInsertStatement::ParseText(std::string_view sql, std::size_t& at) {
    const std::size_t begin = m_text.size();
    for (;;) {
        ++at;
        const std::size_t quote = sql.find('\'', at);
        if (quote == std::string_view::npos) {
            return false;
        }
        m_text.append(sql, at, quote - at);
        at = quote + 1;
        if (at < sql.size() && sql[at] == '\'') {
            m_text += '\'';
        } else if (sql.substr(at, 3) == "||'") {
            at += 2;
        } else {
            break;
        }
    }
    m_literals.push_back({EKind::Text, 0, begin, m_text.size() - begin});
    return true;
}

bool CInsertStatement::ParseInteger(std::string_view sql, std::size_t& at) {
    const std::size_t digits = at + (sql[at] == '-' ? 1 : 0);
    std::size_t end = digits;
    while (end < sql.size() && IsDigit(sql[end])) {
        ++end;
    }
    if (end == digits || end - digits > kMaxDigits) {
        return false;
    }
    std::int64_t number = 0;
    std::from_chars(sql.data() + at, sql.data() + end, number);
    m_literals.push_back({EKind::Integer, number, 0, 0});
    at = end;
    return true;
}

} // namespace Nax::FrontEnd::XMLDB
