// SPDX-License-Identifier: Apache-2.0
#include "xml_schema_outline.h"

#include "xml_handles.h"

#include <algorithm>
#include <optional>
#include <set>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view SchemaNamespace = "http://www.w3.org/2001/XMLSchema";

bool IsSchemaNode(xmlNodePtr node) {
    return node->type == XML_ELEMENT_NODE && node->ns != nullptr &&
           ViewOf(node->ns->href) == SchemaNamespace;
}

bool Is(xmlNodePtr node, std::string_view name) {
    return IsSchemaNode(node) && ViewOf(node->name) == name;
}

std::optional<std::string> AttributeOf(xmlNodePtr node, const char* name) {
    const TTextHandle text(xmlGetNoNsProp(node, XmlTextOf(name)));
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::string(ViewOf(text.get()));
}

/// The node behind `node` in document order, below `root`; without its children when `skip`.
xmlNodePtr Next(xmlNodePtr node, xmlNodePtr root, bool skip) {
    if (!skip && node->children != nullptr && node->type == XML_ELEMENT_NODE) {
        return node->children;
    }
    while (node != root && node->next == nullptr) {
        node = node->parent;
    }
    return node == root ? nullptr : node->next;
}

xmlNodePtr ChildNamed(xmlNodePtr node, std::string_view name) {
    for (xmlNodePtr child = node->children; child != nullptr; child = child->next) {
        if (Is(child, name)) {
            return child;
        }
    }
    return nullptr;
}

xmlNodePtr GlobalType(xmlNodePtr schema, std::string_view name) {
    for (xmlNodePtr child = schema->children; child != nullptr; child = child->next) {
        if (Is(child, "complexType") && AttributeOf(child, "name") == name) {
            return child;
        }
    }
    return nullptr;
}

/// Fills the children from the content model, when it is one of the plain ones.
void ReadChildren(xmlNodePtr type, SElementOutline& outline) {
    bool skip = false;
    for (xmlNodePtr node = Next(type, type, false); node != nullptr;
         node = Next(node, type, skip)) {
        skip = true;
        if (!IsSchemaNode(node) || Is(node, "annotation") || Is(node, "attribute") ||
            Is(node, "attributeGroup") || Is(node, "anyAttribute")) {
            continue;
        }
        if (Is(node, "element")) {
            const auto reference = AttributeOf(node, "ref");
            const auto name = reference ? reference : AttributeOf(node, "name");
            if (!name || name->find(':') != std::string::npos) {
                return;
            }
            outline.children.push_back(*name);
        } else if (Is(node, "sequence") || Is(node, "choice") || Is(node, "all")) {
            skip = false;
            outline.eachOnce = outline.eachOnce || Is(node, "all");
        } else {
            return;
        }
    }
    outline.listsChildren = !outline.children.empty();
}

void ReadAttributeTypes(xmlNodePtr type, SElementOutline& outline) {
    for (xmlNodePtr node = type->children; node != nullptr; node = node->next) {
        const auto name = Is(node, "attribute") ? AttributeOf(node, "name") : std::nullopt;
        const auto typeName = name ? AttributeOf(node, "type") : std::nullopt;
        if (typeName) {
            outline.attributeTypes[*name] = *typeName;
        }
    }
}

SElementOutline OutlineOf(xmlNodePtr element, xmlNodePtr schema, bool mayList) {
    SElementOutline outline;
    const auto typeName = AttributeOf(element, "type");
    xmlNodePtr type = typeName ? GlobalType(schema, *typeName) : ChildNamed(element, "complexType");
    if (type != nullptr) {
        ReadAttributeTypes(type, outline);
        if (mayList) {
            ReadChildren(type, outline);
        }
    }
    return outline;
}

} // namespace

CSchemaOutline::CSchemaOutline(xmlDocPtr schema) {
    xmlNodePtr root = xmlDocGetRootElement(schema);
    if (root == nullptr) {
        return;
    }
    m_targetNamespace = AttributeOf(root, "targetNamespace").value_or(std::string());
    CollectElements(root);
    CollectRoots(root);
}

void CSchemaOutline::CollectElements(xmlNodePtr root) {
    std::map<std::string, int> declarations;
    bool mayList = ChildNamed(root, "redefine") == nullptr;
    for (xmlNodePtr node = root; node != nullptr; node = Next(node, root, false)) {
        if (Is(node, "element")) {
            if (const auto name = AttributeOf(node, "name")) {
                ++declarations[*name];
            }
            mayList = mayList && !AttributeOf(node, "substitutionGroup");
        }
    }
    for (xmlNodePtr node = root->children; node != nullptr; node = node->next) {
        const auto name = Is(node, "element") ? AttributeOf(node, "name") : std::nullopt;
        if (name && declarations[*name] == 1) {
            m_elements.emplace(*name, OutlineOf(node, root, mayList));
        }
    }
}

void CSchemaOutline::CollectRoots(xmlNodePtr root) {
    std::set<std::string> contained;
    for (xmlNodePtr node = root; node != nullptr; node = Next(node, root, false)) {
        const auto name = Is(node, "element") ? AttributeOf(node, "ref") : std::nullopt;
        if (name) {
            contained.insert(name->substr(name->find(':') + 1));
        }
    }
    std::vector<std::string> all;
    for (xmlNodePtr node = root->children; node != nullptr; node = node->next) {
        if (const auto name = Is(node, "element") ? AttributeOf(node, "name") : std::nullopt) {
            all.push_back(*name);
        }
    }
    std::copy_if(all.begin(), all.end(), std::back_inserter(m_roots),
                 [&](const std::string& name) { return contained.count(name) == 0; });
    if (m_roots.empty()) {
        m_roots = all;
    }
}

const SElementOutline* CSchemaOutline::Find(std::string_view element) const {
    const auto found = m_elements.find(element);
    return found == m_elements.end() ? nullptr : &found->second;
}

} // namespace Nax::FrontEnd::XMLDB
