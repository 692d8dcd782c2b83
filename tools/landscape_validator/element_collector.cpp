// SPDX-License-Identifier: Apache-2.0
#include "element_collector.h"

#include "include_resolver.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr std::string_view kService = "Service";
constexpr std::string_view kMemo = "Memo";
constexpr std::string_view kInclude = "Include";
constexpr std::string_view kItem = "Item";

/// The reader bounds text between two tags; only a memo that has elements inside, which is a
/// finding of its own, gets here with more.
void AppendMemo(std::string& memo, std::string_view text, std::size_t most) {
    memo.append(text.substr(0, most - std::min(most, memo.size())));
}

bool IsParent(std::string_view element) {
    return element == "Node" || element == "Workspace";
}

std::optional<std::string> FindAttribute(std::span<const SXmlAttribute> attributes,
                                         std::string_view name) {
    for (const SXmlAttribute& attribute : attributes) {
        if (attribute.name == name) {
            return std::string(attribute.value);
        }
    }
    return std::nullopt;
}

} // namespace

CElementCollector::CElementCollector(const CLandscapeTables& tables,
                                     CRecordBuffer::TakeBlock takeBlock, std::uint64_t maxIncludes)
    : m_tables(tables),
      m_maxIncludes(maxIncludes),
      m_maxMemo(static_cast<std::size_t>(GetXmlLimits().textSize)),
      m_serviceTable(tables.Find(kService)),
      m_records(std::move(takeBlock)),
      m_lastColumns(tables.GetCount()) {}

void CElementCollector::StartElement(std::string_view name, Attributes attributes, long line) {
    if (name == kService && m_serviceTable != CLandscapeTables::kNone) {
        OpenService(attributes, line);
    } else if (name == kMemo) {
        OpenMemo(line);
    } else if (name == kInclude) {
        AddInclude(attributes, line);
    } else if (const std::size_t table = m_tables.Find(name); table != CLandscapeTables::kNone) {
        AddEntry(table, attributes, line);
    }
    if (IsParent(name)) {
        m_parents.push_back(FindAttribute(attributes, "uuid").value_or(""));
    }
}

void CElementCollector::EndElement(std::string_view name) {
    if (name == kService && !m_services.empty()) {
        CloseService();
    } else if (name == kMemo) {
        CloseMemo();
    } else if (IsParent(name) && !m_parents.empty()) {
        m_parents.pop_back();
    }
}

void CElementCollector::Characters(std::string_view text) {
    if (m_openMemos == 0) {
        return;
    }
    std::optional<std::string>& memo = m_strayMemo ? m_strayMemo : m_services[m_memoService].memo;
    AppendMemo(memo.value(), text, m_maxMemo);
}

void CElementCollector::OpenMemo(long line) {
    if (++m_openMemos > 1) {
        return; // a memo inside a memo is part of its text
    }
    if (!m_services.empty() && !m_services.back().memo) {
        m_services.back().memo.emplace();
        m_memoService = m_services.size() - 1;
    } else {
        m_strayMemo.emplace();
        m_strayMemoLine = line;
    }
}

void CElementCollector::CloseMemo() {
    if (--m_openMemos > 0 || !m_strayMemo) {
        return;
    }
    if (const std::size_t table = m_tables.Find(kMemo); table != CLandscapeTables::kNone) {
        m_values.clear();
        if (const std::size_t column = FindTextColumn(table); column != CLandscapeTables::kNone) {
            m_values.push_back({column, *m_strayMemo});
        }
        m_records.Append(table, m_tables[table].columns.size(), m_strayMemoLine, m_values);
    }
    m_strayMemo.reset();
}

std::size_t CElementCollector::FindTextColumn(std::size_t table) const {
    const std::vector<SColumn>& columns = m_tables[table].columns;
    const auto found = std::find_if(columns.begin(), columns.end(), [](const SColumn& column) {
        return column.content == ColumnContent::Text;
    });
    return found == columns.end() ? CLandscapeTables::kNone
                                  : static_cast<std::size_t>(found - columns.begin());
}

std::size_t CElementCollector::FindColumn(std::size_t table, std::size_t place,
                                          std::string_view attribute) {
    // Entries of a kind mostly have the same attributes in the same order.
    std::vector<std::size_t>& last = m_lastColumns[table];
    if (place >= last.size()) {
        last.resize(place + 1, CLandscapeTables::kNone);
    }
    const STable& description = m_tables[table];
    if (last[place] == CLandscapeTables::kNone ||
        description.columns[last[place]].attribute != attribute) {
        const auto known = description.attributes.find(attribute);
        if (known == description.attributes.end()) {
            return CLandscapeTables::kNone;
        }
        last[place] = known->second;
    }
    return last[place];
}

void CElementCollector::ReadValues(std::size_t table, Attributes attributes) {
    m_values.clear();
    for (std::size_t place = 0; place < attributes.size(); ++place) {
        const std::size_t column = FindColumn(table, place, attributes[place].name);
        if (column != CLandscapeTables::kNone) {
            m_values.push_back({column, attributes[place].value});
        }
    }
    AddPresets(m_tables[table]);
}

void CElementCollector::AddPresets(const STable& table) {
    const std::size_t given = m_values.size();
    for (const std::size_t column : table.presets) {
        const auto end = m_values.begin() + static_cast<std::ptrdiff_t>(given);
        if (std::any_of(m_values.begin(), end, [column](const CRecordBuffer::SValue& value) {
                return value.column == column;
            })) {
            continue;
        }
        // An item outside of everything has an empty parent, a node has none: the two rules on
        // parents look for just that.
        const bool isParent = table.columns[column].content == ColumnContent::ParentUuid;
        if (isParent && !m_parents.empty()) {
            m_values.push_back({column, m_parents.back()});
        } else if (table.columns[column].emptyWhenAbsent || table.name == kItem) {
            m_values.push_back({column, std::string_view("")});
        }
    }
}

void CElementCollector::AddEntry(std::size_t table, Attributes attributes, long line) {
    ReadValues(table, attributes);
    m_records.Append(table, m_tables[table].columns.size(), line, m_values);
}

void CElementCollector::AddInclude(Attributes attributes, long line) {
    std::optional<std::string> url = FindAttribute(attributes, "url");
    if (url && url->size() > kMaxIncludeUrl) { // whole characters of it, so many that it is refused
        std::size_t end = std::min(url->size(), kMaxIncludeUrl + 4);
        while (end < url->size() && (static_cast<unsigned char>((*url)[end]) & 0xC0U) == 0x80U) {
            --end;
        }
        url->resize(end);
    }
    if (url && !url->empty() && m_includes.size() <= m_maxIncludes &&
        m_includeUrls.insert(*url).second) {
        m_includes.push_back({*url, FindAttribute(attributes, "description"),
                              FindAttribute(attributes, "name"), line});
    }
}

void CElementCollector::OpenService(Attributes attributes, long line) {
    ReadValues(m_serviceTable, attributes);
    CRecordBuffer::Pack(m_services.emplace_back().record, m_serviceTable,
                        m_tables[m_serviceTable].columns.size(), line, m_values);
}

void CElementCollector::CloseService() {
    SOpenService& service = m_services.back();
    const std::size_t text = FindTextColumn(m_serviceTable);
    if (service.memo && text != CLandscapeTables::kNone) {
        CRecordBuffer::AddValue(service.record, {text, *service.memo});
    }
    m_records.Append(service.record);
    m_services.pop_back();
}

} // namespace LandscapeValidator
