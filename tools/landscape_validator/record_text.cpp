// SPDX-License-Identifier: Apache-2.0
#include "record_text.h"

#include <algorithm>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr std::string_view kDataMarker = "f_data:";

bool HasTextColumn(const STable& table) {
    return std::any_of(table.columns.begin(), table.columns.end(),
                       [](const SColumn& column) { return column.content == ColumnContent::Text; });
}

} // namespace

void AppendLiteral(std::string& sql, const std::optional<std::string_view>& value) {
    if (!value) {
        sql += "NULL";
        return;
    }
    sql += '\'';
    char previous = '\0';
    for (const char character : *value) {
        if (character == '_' && previous == 'f') {
            sql += "'||'";
        }
        sql += character;
        if (character == '\'') {
            sql += '\'';
        }
        previous = character;
    }
    sql += '\'';
}

std::string MakeRecordText(const STable& table, const CRecordBuffer::Values& values,
                           const std::string& fileIndex) {
    std::string text = "{";
    if (!HasTextColumn(table)) {
        text += kDataMarker;
    }
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        const SColumn& description = table.columns[column];
        switch (description.content) {
            case ColumnContent::Text:
                text += kDataMarker;
                AppendLiteral(text, values[column]);
                break;
            case ColumnContent::FileIndex:
                AppendLiteral(text, fileIndex);
                break;
            case ColumnContent::Attribute:
            case ColumnContent::ParentUuid:
                text.append("f_").append(description.name).append(":");
                AppendLiteral(text, values[column]);
                break;
        }
        text += ',';
    }
    return text;
}

std::string MakeInsert(const STable& table, const CRecordBuffer::Values& values,
                       const std::string& fileIndex) {
    std::string names;
    std::string literals;
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        const SColumn& description = table.columns[column];
        names.append(column == 0 ? "\"" : ",\"").append(description.name).append("\"");
        literals += column == 0 ? "" : ",";
        AppendLiteral(literals, description.content == ColumnContent::FileIndex
                                    ? std::optional<std::string_view>(fileIndex)
                                    : values[column]);
    }
    // The commit has renamed the tables of memos; elements of the other kinds here keep theirs.
    const std::string name = table.name == "Memo" ? "Memos" : table.name;
    return "INSERT INTO \"" + name + "\" (" + names + ") VALUES (" + literals + ")";
}

} // namespace LandscapeValidator
