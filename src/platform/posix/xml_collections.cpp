// SPDX-License-Identifier: Apache-2.0
#include "xml_collections.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

template <class Interface>
class CNodes : public CComObject<Interface> {
public:
    CNodes(std::shared_ptr<CXmlTree> tree, std::vector<xmlNodePtr> nodes)
        : m_tree(std::move(tree)), m_nodes(std::move(nodes)) {}

    HRESULT get_item(long index, IXMLDOMNode** item) noexcept override {
        if (item == nullptr) {
            return E_POINTER;
        }
        *item = nullptr;
        if (index < 0 || static_cast<std::size_t>(index) >= m_nodes.size()) {
            return S_FALSE;
        }
        return Guarded([&] {
            *item = WrapNode(m_tree, m_nodes[static_cast<std::size_t>(index)]).Detach();
            return S_OK;
        });
    }
    HRESULT get_length(long* length) noexcept override {
        if (length == nullptr) {
            return E_POINTER;
        }
        *length = static_cast<long>(m_nodes.size());
        return S_OK;
    }

protected:
    std::shared_ptr<CXmlTree> m_tree;
    std::vector<xmlNodePtr> m_nodes;
};

class CNamedNodeMap final : public CNodes<IXMLDOMNamedNodeMap> {
public:
    using CNodes::CNodes;

    HRESULT getNamedItem(BSTR name, IXMLDOMNode** item) noexcept override {
        if (item == nullptr) {
            return E_POINTER;
        }
        *item = nullptr;
        return Guarded([&] {
            const std::string wanted = Utf8Of(name);
            for (xmlNodePtr node : m_nodes) {
                if (QualifiedNameOf(node) == wanted) {
                    *item = WrapNode(m_tree, node).Detach();
                    return S_OK;
                }
            }
            return S_FALSE;
        });
    }
};

} // namespace

_com_ptr_t<IXMLDOMNodeList> MakeNodeList(std::shared_ptr<CXmlTree> tree,
                                         std::vector<xmlNodePtr> nodes) {
    return MakeComObject<CNodes<IXMLDOMNodeList>, IXMLDOMNodeList>(std::move(tree),
                                                                   std::move(nodes));
}

_com_ptr_t<IXMLDOMNamedNodeMap> MakeNamedNodeMap(std::shared_ptr<CXmlTree> tree,
                                                 std::vector<xmlNodePtr> nodes) {
    return MakeComObject<CNamedNodeMap, IXMLDOMNamedNodeMap>(std::move(tree), std::move(nodes));
}

} // namespace Nax::FrontEnd::XMLDB
