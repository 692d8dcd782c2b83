// SPDX-License-Identifier: Apache-2.0
#include "element_collector.h"

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr std::string_view kService = "Service";
constexpr std::string_view kMemo = "Memo";
constexpr std::string_view kInclude = "Include";
constexpr std::string_view kItem = "Item";

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

CElementCollector::CElementCollector(const CLandscapeTables& tables)
    : m_tables(tables), m_serviceTable(tables.Find(kService)) {}

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
    if (m_strayMemo) {
        m_strayMemo->append(text);
    } else if (!m_services.empty()) {
        m_services.back().memo->append(text);
    }
}

void CElementCollector::OpenMemo(long line) {
    if (++m_openMemos > 1) {
        return; // a memo inside a memo is part of its text
    }
    if (!m_services.empty() && !m_services.back().memo) {
        m_services.back().memo.emplace();
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
        const std::vector<SColumn>& columns = m_tables[table].columns;
        m_values.assign(columns.size(), std::nullopt);
        for (std::size_t column = 0; column < columns.size(); ++column) {
            if (columns[column].content == ColumnContent::Text) {
                m_values[column] = *m_strayMemo;
            }
        }
        m_records.Append(table, m_strayMemoLine, m_values);
    }
    m_strayMemo.reset();
}

void CElementCollector::ReadValues(const STable& table, Attributes attributes) {
    m_values.assign(table.columns.size(), std::nullopt);
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        if (table.columns[column].emptyWhenAbsent) {
            m_values[column] = std::string_view();
        }
        // An item outside of everything has an empty parent, a node has none: the two rules on
        // parents look for just that.
        if (table.columns[column].content == ColumnContent::ParentUuid) {
            if (!m_parents.empty()) {
                m_values[column] = m_parents.back();
            } else if (table.name == kItem) {
                m_values[column] = std::string_view();
            }
        }
    }
    for (const SXmlAttribute& attribute : attributes) {
        const auto known = table.attributes.find(attribute.name);
        if (known != table.attributes.end()) {
            m_values[known->second] = attribute.value;
        }
    }
}

void CElementCollector::AddEntry(std::size_t table, Attributes attributes, long line) {
    ReadValues(m_tables[table], attributes);
    m_records.Append(table, line, m_values);
}

void CElementCollector::AddInclude(Attributes attributes, long line) {
    const std::optional<std::string> url = FindAttribute(attributes, "url");
    if (url && !url->empty()) {
        m_includes.push_back({*url, FindAttribute(attributes, "description"),
                              FindAttribute(attributes, "name"), line});
    }
}

void CElementCollector::OpenService(Attributes attributes, long line) {
    ReadValues(m_tables[m_serviceTable], attributes);
    SOpenService service;
    service.line = line;
    service.values = m_values;
    service.texts.reserve(m_values.size());
    for (auto& value : service.values) {
        if (value && !value->empty()) {
            value = service.texts.emplace_back(*value);
        }
    }
    m_services.push_back(std::move(service));
}

void CElementCollector::CloseService() {
    SOpenService& service = m_services.back();
    const std::vector<SColumn>& columns = m_tables[m_serviceTable].columns;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        if (columns[column].content == ColumnContent::Text && service.memo) {
            service.values[column] = *service.memo;
        }
    }
    m_records.Append(m_serviceTable, service.line, service.values);
    m_services.pop_back();
}

} // namespace LandscapeValidator
