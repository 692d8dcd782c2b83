// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// Registry of the generated tables and their columns, and the texts made from it.
///
/// Tables are kept in name order. A table's columns stand in the order of its CREATE TABLE
/// statement, without the generated integer key; a column whose name is empty is kept. A value
/// type; one thread at a time.
class NAXFEWXMLDB_EXPORT CQueryBuilder {
public:
    /// Table name to its columns.
    using Tables = std::map<std::string, std::vector<std::string>>;

    CQueryBuilder();
    explicit CQueryBuilder(Tables tables);

    /// Name behind CREATE TABLE, without its quotation marks; empty when there is none.
    static std::string ReadTableName(std::string_view statement);
    /// Reads the columns of `statement` and registers them, together with those announced by
    /// RegisterColumn that the statement lacks. Replaces an earlier entry of that name.
    void RegisterTable(const std::string& table, std::string_view statement);
    /// Announces a column for a table; every generated column is a text, so the type says nothing.
    void RegisterColumn(const std::string& table, const std::string& column,
                        const std::string& type);

    const Tables& GetTables() const { return m_tables; }
    /// Throws std::out_of_range("invalid map<K, T> key") for an unknown table.
    const std::vector<std::string>& GetColumns(const std::string& table) const;

    /// "(first,second)"; a name that SQL cannot take bare, the empty one included, is quoted.
    static std::string RenderColumns(const std::vector<std::string>& columns);
    /// "INSERT INTO table (columns) VALUES ". Throws as GetColumns does.
    std::string FormatInsertPrefix(const std::string& table) const;

private:
    Tables m_tables;
    Tables m_announced;
};

} // namespace Nax::FrontEnd::XMLDB
