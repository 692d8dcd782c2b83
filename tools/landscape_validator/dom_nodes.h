// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/platform/xml_dom.h>

#include <functional>
#include <string>

namespace LandscapeValidator {

/// What the program reads from a document's nodes, as UTF-8; empty where there is nothing.
std::string NameOf(IXMLDOMNode* node);
std::string TextOf(IXMLDOMNode* node);
std::string AttributeOf(IXMLDOMNode* node, const wchar_t* name);
void ForEachChild(IXMLDOMNode* node, const std::function<void(IXMLDOMNode*)>& visit);

} // namespace LandscapeValidator
