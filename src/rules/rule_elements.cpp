// SPDX-License-Identifier: Apache-2.0
#include "rules/rule_elements.h"

#include <naxfewxmldb/xml_document.h>

#include "xml/com_check.h"

namespace Nax::FrontEnd::XMLDB {

IXMLDOMElementPtr FindRoot(CXmlDbDocument& document, const wchar_t* name) {
    const IXMLDOMDocument2Ptr dom = document.GetDocument();
    IXMLDOMElementPtr root;
    if (!dom || dom->get_documentElement(&root) != S_OK) {
        return {};
    }
    _bstr_t rootName;
    NAX_CHECK(root->get_nodeName(rootName.GetAddress()));
    return rootName == _bstr_t(name) ? root : IXMLDOMElementPtr();
}

std::vector<std::pair<_bstr_t, IXMLDOMNodePtr>> ChildrenOf(IXMLDOMElement* root) {
    IXMLDOMNodeListPtr list;
    long count = 0;
    NAX_CHECK(root->get_childNodes(&list));
    NAX_CHECK(list->get_length(&count));
    std::vector<std::pair<_bstr_t, IXMLDOMNodePtr>> children;
    for (long index = 0; index < count; ++index) {
        IXMLDOMNodePtr child;
        _bstr_t name;
        NAX_CHECK(list->get_item(index, &child));
        NAX_CHECK(child->get_nodeName(name.GetAddress()));
        children.emplace_back(name, child);
    }
    return children;
}

} // namespace Nax::FrontEnd::XMLDB
