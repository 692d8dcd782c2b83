// SPDX-License-Identifier: Apache-2.0
#include "dom_nodes.h"

namespace LandscapeValidator {

namespace {

std::string Narrow(const _bstr_t& text) {
    const char* narrow = text;
    return narrow == nullptr ? std::string() : std::string(narrow);
}

} // namespace

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

std::string AttributeOf(IXMLDOMNode* node, const wchar_t* name) {
    IXMLDOMNamedNodeMapPtr attributes;
    IXMLDOMNodePtr attribute;
    const bool found = node->get_attributes(&attributes) == S_OK &&
                       attributes->getNamedItem(_bstr_t(name), &attribute) == S_OK;
    return found ? TextOf(attribute) : std::string();
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

} // namespace LandscapeValidator
