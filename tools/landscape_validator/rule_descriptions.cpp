// SPDX-License-Identifier: Apache-2.0
#include "rule_descriptions.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <cstdlib>
#include <functional>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr int kDescriptionsResource = 202;

std::string Narrow(const _bstr_t& text) {
    const char* narrow = text;
    return narrow == nullptr ? std::string() : std::string(narrow);
}

std::string NameOf(IXMLDOMNode* node) {
    _bstr_t name;
    node->get_nodeName(name.GetAddress());
    return Narrow(name);
}

std::string TextOf(IXMLDOMNode* node) {
    _bstr_t text;
    node->get_text(text.GetAddress());
    return Narrow(text);
}

void ForEachChild(IXMLDOMNode* node, const std::function<void(IXMLDOMNode*)>& visit) {
    IXMLDOMNodeListPtr children;
    long count = 0;
    if (node->get_childNodes(&children) != S_OK || children->get_length(&count) != S_OK) {
        return;
    }
    for (long index = 0; index < count; ++index) {
        IXMLDOMNodePtr child;
        if (children->get_item(index, &child) == S_OK) {
            visit(child);
        }
    }
}

std::string ReadId(IXMLDOMNode* node) {
    IXMLDOMNamedNodeMapPtr attributes;
    IXMLDOMNodePtr id;
    const bool found = node->get_attributes(&attributes) == S_OK &&
                       attributes->getNamedItem(_bstr_t(L"id"), &id) == S_OK;
    return found ? TextOf(id) : std::string();
}

SRuleText ReadText(IXMLDOMNode* node) {
    SRuleText text;
    ForEachChild(node, [&text](IXMLDOMNode* child) {
        const std::string part = TextOf(child);
        text.plain += part;
        text.markdown += NameOf(child) == "code" ? "`" + part + "`" : part;
    });
    return text;
}

SRuleDescription ReadDescription(IXMLDOMNode* node) {
    SRuleDescription description;
    ForEachChild(node, [&description](IXMLDOMNode* child) {
        const std::string name = NameOf(child);
        if (name == "Finds") {
            description.finds = ReadText(child);
        } else if (name == "Matters") {
            description.matters = ReadText(child);
        } else if (name == "Example") {
            description.example = TextOf(child);
        } else if (name == "Mend") {
            description.mend = ReadText(child);
        }
    });
    return description;
}

} // namespace

CRuleDescriptions::CRuleDescriptions() {
    CXmlDbDocument file;
    IXMLDOMElementPtr root;
    if (!file.LoadXML(CXmlDbDocument::LoadInternalResource(kDescriptionsResource, nullptr)) ||
        file.GetDocument()->get_documentElement(&root) != S_OK) {
        return;
    }
    ForEachChild(root, [this](IXMLDOMNode* child) {
        if (NameOf(child) == "Description") {
            const std::string id = ReadId(child);
            m_descriptions[static_cast<int>(std::strtol(id.c_str(), nullptr, 10))] =
                ReadDescription(child);
        }
    });
}

const SRuleDescription* CRuleDescriptions::Find(int ruleId) const {
    const auto found = m_descriptions.find(ruleId);
    return found == m_descriptions.end() ? nullptr : &found->second;
}

} // namespace LandscapeValidator
