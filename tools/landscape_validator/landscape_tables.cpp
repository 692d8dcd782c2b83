// SPDX-License-Identifier: Apache-2.0
#include "landscape_tables.h"

#include "dom_nodes.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

/// Element name, then attribute name, to whether an absent value is an empty text.
using Attributes = std::map<std::string, bool>;
using Elements = std::map<std::string, Attributes>;

const std::map<std::string, DBOperations, std::less<>> kOperations = {
    {"Workspace", AddWorkspace},
    {"Messageserver", AddMessageServer},
    {"Router", AddRouter},
    {"Webdispatcher", AddWebDispatcher},
    {"Node", AddNode},
    {"LDAP", AddLDAP},
    {"Service", AddService},
    {"Parameter", AddParameter},
    {"Item", DBOperations::AddItem}};

std::string LocalName(const std::string& qualified) {
    return qualified.substr(qualified.find(':') + 1);
}

/// Collects the attribute declarations of a document, each for the nearest named element around
/// it. A schema may be as deep as any document, so the way back up is kept here.
void CollectAttributes(IXMLDOMNode* document, Elements& elements) {
    std::vector<std::pair<IXMLDOMNodePtr, std::string>> open;
    open.emplace_back(document, std::string());
    while (!open.empty()) {
        const IXMLDOMNodePtr node = open.back().first;
        std::string element = std::move(open.back().second);
        open.pop_back();
        const std::string kind = LocalName(NameOf(node));
        const std::string name = AttributeOf(node, L"name");
        if (kind == "attribute" && !name.empty()) {
            elements[element][name] = AttributeOf(node, L"use") == "required" ||
                                      LocalName(AttributeOf(node, L"type")) == "GUID";
        }
        if (kind == "element" && !name.empty()) {
            element = name;
        }
        const std::size_t first = open.size();
        ForEachChild(node, [&](IXMLDOMNode* child) { open.emplace_back(child, element); });
        std::reverse(open.begin() + static_cast<std::ptrdiff_t>(first), open.end());
    }
}

Elements ReadSchema(const CDBProcessor& processor) {
    Elements elements;
    if (const IXMLDOMDocument2Ptr document =
            processor.GetMapper()->GetXsdDocument().GetDocument()) {
        CollectAttributes(document, elements);
    }
    return elements;
}

/// The mapper's renaming of attribute names that are SQL keywords.
std::string ColumnName(const CDBProcessor& processor, const std::string& attribute) {
    return processor.getTextProcessorRef().ReplaceAll(
        attribute, {{"transaction", "trans"}, {"index", "indx"}});
}

ColumnContent ContentOf(const std::string& column) {
    if (column.empty()) {
        return ColumnContent::Text;
    }
    if (column == "file_id") {
        return ColumnContent::FileIndex;
    }
    return column == "parent_id" ? ColumnContent::ParentUuid : ColumnContent::Attribute;
}

} // namespace

CLandscapeTables::CLandscapeTables(const CDBProcessor& processor) {
    const Elements elements = ReadSchema(processor);
    for (const auto& [name, columns] : processor.GetMapper()->GetTables()) {
        STable table;
        table.name = name;
        if (const auto operation = kOperations.find(name); operation != kOperations.end()) {
            table.operation = operation->second;
        }
        std::map<std::string, std::size_t> places;
        for (const std::string& column : columns) {
            places[column] = table.columns.size();
            table.columns.push_back({column, ContentOf(column), false});
        }
        if (const auto declared = elements.find(name); declared != elements.end()) {
            for (const auto& [attribute, emptyWhenAbsent] : declared->second) {
                const auto place = places.find(ColumnName(processor, attribute));
                if (place != places.end()) {
                    table.attributes[attribute] = place->second;
                    table.columns[place->second].attribute = attribute;
                    table.columns[place->second].emptyWhenAbsent = emptyWhenAbsent;
                }
            }
        }
        for (std::size_t column = 0; column < table.columns.size(); ++column) {
            if (table.columns[column].emptyWhenAbsent ||
                table.columns[column].content == ColumnContent::ParentUuid) {
                table.presets.push_back(column);
            }
        }
        m_byElement[name] = m_tables.size();
        m_tables.push_back(std::move(table));
    }
}

std::size_t CLandscapeTables::Find(std::string_view element) const {
    const auto found = m_byElement.find(element);
    return found == m_byElement.end() ? kNone : found->second;
}

} // namespace LandscapeValidator
