// SPDX-License-Identifier: Apache-2.0
#include "rule_descriptions.h"

#include "dom_nodes.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <cstdlib>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr int kDescriptionsResource = 202;

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
            const std::string id = AttributeOf(child, L"id");
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
