// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/query_builder.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view kCreateTable = "CREATE TABLE";
constexpr std::string_view kKeyType = "INTEGER";

bool IsBlank(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

std::string_view SkipBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

/// Takes a name, quoted or bare, off the front of `text`.
std::string TakeName(std::string_view& text) {
    text = SkipBlanks(text);
    const bool quoted = !text.empty() && text.front() == '"';
    if (quoted) {
        text.remove_prefix(1);
        const std::size_t end = std::min(text.find('"'), text.size());
        std::string name(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        return name;
    }
    std::size_t end = 0;
    while (end < text.size() && !IsBlank(text[end]) && text[end] != '(' && text[end] != ',') {
        ++end;
    }
    std::string name(text.substr(0, end));
    text.remove_prefix(end);
    return name;
}

/// The comma-separated entries between the statement's outer parentheses.
std::vector<std::string_view> SplitDefinitions(std::string_view statement) {
    std::vector<std::string_view> definitions;
    const std::size_t open = statement.find('(');
    if (open == std::string_view::npos) {
        return definitions;
    }
    std::size_t begin = open + 1;
    int depth = 0;
    bool quoted = false;
    for (std::size_t at = begin; at < statement.size(); ++at) {
        const char character = statement[at];
        quoted = quoted != (character == '"');
        if (quoted) {
            continue;
        }
        if (character == '(') {
            ++depth;
        } else if (character == ')' && depth-- == 0) {
            definitions.push_back(statement.substr(begin, at - begin));
            break;
        } else if (character == ',' && depth == 0) {
            definitions.push_back(statement.substr(begin, at - begin));
            begin = at + 1;
        }
    }
    return definitions;
}

bool IsPlainName(std::string_view name) {
    if (name.empty() || std::isdigit(static_cast<unsigned char>(name.front())) != 0) {
        return false;
    }
    return std::all_of(name.begin(), name.end(), [](char character) {
        return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
    });
}

} // namespace

CQueryBuilder::CQueryBuilder() = default;

CQueryBuilder::CQueryBuilder(Tables tables) : m_tables(std::move(tables)) {}

std::string CQueryBuilder::ReadTableName(std::string_view statement) {
    const std::size_t at = statement.find(kCreateTable);
    if (at == std::string_view::npos) {
        return {};
    }
    std::string_view rest = statement.substr(at + kCreateTable.size());
    return TakeName(rest);
}

void CQueryBuilder::RegisterTable(const std::string& table, std::string_view statement) {
    std::vector<std::string> columns;
    for (std::string_view definition : SplitDefinitions(statement)) {
        definition = SkipBlanks(definition);
        if (definition.starts_with("PRIMARY KEY") || definition.empty()) {
            continue;
        }
        std::string name = TakeName(definition);
        const bool generatedKey =
            name == table + "_id" && SkipBlanks(definition).starts_with(kKeyType);
        if (!generatedKey) {
            columns.push_back(std::move(name));
        }
    }
    for (const std::string& announced : m_announced[table]) {
        if (std::find(columns.begin(), columns.end(), announced) == columns.end()) {
            columns.push_back(announced);
        }
    }
    m_tables[table] = std::move(columns);
}

void CQueryBuilder::RegisterColumn(const std::string& table, const std::string& column,
                                   const std::string& /*type*/) {
    m_announced[table].push_back(column);
}

const std::vector<std::string>& CQueryBuilder::GetColumns(const std::string& table) const {
    const auto found = m_tables.find(table);
    if (found == m_tables.end()) {
        throw std::out_of_range("invalid map<K, T> key");
    }
    return found->second;
}

std::string CQueryBuilder::RenderColumns(const std::vector<std::string>& columns) {
    std::string rendered = "(";
    for (const std::string& column : columns) {
        if (rendered.size() > 1) {
            rendered += ',';
        }
        rendered += IsPlainName(column) ? column : '"' + column + '"';
    }
    return rendered += ')';
}

std::string CQueryBuilder::FormatInsertPrefix(const std::string& table) const {
    return "INSERT INTO " + table + " " + RenderColumns(GetColumns(table)) + " VALUES ";
}

} // namespace Nax::FrontEnd::XMLDB
