// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/platform/xml_dom.h>

#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

class CXmlDbDocument;

/// The document element when it has that name, else null.
IXMLDOMElementPtr FindRoot(CXmlDbDocument& document, const wchar_t* name);

/// Name and node of every child, in document order. Raises `_com_error`.
std::vector<std::pair<_bstr_t, IXMLDOMNodePtr>> ChildrenOf(IXMLDOMElement* root);

} // namespace Nax::FrontEnd::XMLDB
