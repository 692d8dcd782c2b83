// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/naxfewxmldb.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LandscapeValidator {

/// What stands in a column of an element's table.
enum class ColumnContent { Attribute, Text, FileIndex, ParentUuid };

struct SColumn {
    std::string name;
    ColumnContent content = ColumnContent::Attribute;
    /// Required attributes and ids are stored as empty texts when absent, all others as NULL.
    bool emptyWhenAbsent = false;
    std::string attribute = {}; ///< whose value it holds; empty for none
};

/// One element's table as the schema generates it.
struct STable {
    std::string name;
    /// The operation that adds a record; elements without one are inserted by SQL.
    std::optional<Nax::FrontEnd::XMLDB::DBOperations> operation;
    std::vector<SColumn> columns;
    /// Attribute name to its place in `columns`.
    std::map<std::string, std::size_t, std::less<>> attributes;
    /// Columns that have a value although no attribute gives one.
    std::vector<std::size_t> presets = {};
};

/// The tables of all landscape elements, read from the mapped schema of a database processor.
/// Immutable after construction.
class CLandscapeTables {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// `processor` must have created its schema.
    explicit CLandscapeTables(const Nax::FrontEnd::XMLDB::CDBProcessor& processor);

    /// Index of an element's table; kNone for unknown elements and containers.
    std::size_t Find(std::string_view element) const;
    std::size_t GetCount() const { return m_tables.size(); }
    const STable& operator[](std::size_t index) const { return m_tables[index]; }

private:
    std::vector<STable> m_tables;
    std::map<std::string, std::size_t, std::less<>> m_byElement;
};

} // namespace LandscapeValidator
