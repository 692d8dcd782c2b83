// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_com_object.h"
#include "xml_tree.h"

#include <naxfewxmldb/platform/xml_dom.h>
#include <memory>

namespace Nax::FrontEnd::XMLDB {

/// A node and the tree that it keeps alive.
struct SXmlNode {
    std::shared_ptr<CXmlTree> tree;
    xmlNodePtr node = nullptr;
};

/// What every node object of this realisation is besides its interface: the way to its node.
class IXmlNodeHolder {
public:
    /// May build the tree first; throws CXmlFailure when that fails.
    virtual SXmlNode Held() = 0;
    /// Whether a stylesheet in this document may read other documents.
    virtual bool AllowsDocumentFunction() const noexcept { return false; }

protected:
    ~IXmlNodeHolder() = default;
};

/// The holder behind an interface pointer; throws CXmlFailure for objects of another realisation.
IXmlNodeHolder& HolderOf(IXMLDOMNode* node);

/// The object of a node: the same one as long as somebody holds it; null for null.
IXMLDOMNodePtr WrapNode(const std::shared_ptr<CXmlTree>& tree, xmlNodePtr node);

HRESULT GetNodeName(IXmlNodeHolder& holder, BSTR* name) noexcept;
HRESULT GetNodeType(IXmlNodeHolder& holder, DOMNodeType* type) noexcept;
HRESULT GetNodeText(IXmlNodeHolder& holder, BSTR* text) noexcept;
HRESULT GetNodeXml(IXmlNodeHolder& holder, BSTR* xml) noexcept;
HRESULT GetParentNode(IXmlNodeHolder& holder, IXMLDOMNode** parent) noexcept;
HRESULT GetFirstChild(IXmlNodeHolder& holder, IXMLDOMNode** child) noexcept;
HRESULT GetChildNodes(IXmlNodeHolder& holder, IXMLDOMNodeList** children) noexcept;
HRESULT GetAttributes(IXmlNodeHolder& holder, IXMLDOMNamedNodeMap** attributes) noexcept;
HRESULT AppendChild(IXmlNodeHolder& holder, IXMLDOMNode* child, IXMLDOMNode** added) noexcept;
HRESULT TransformNode(IXmlNodeHolder& holder, IXMLDOMNode* stylesheet, BSTR* result) noexcept;

/// The node operations of any node object, over its holder. A document and all its nodes count as
/// one object for the thread rule.
template <class Interface>
class CXmlNodeBase : public CComObject<Interface>, public IXmlNodeHolder {
public:
    HRESULT get_nodeName(BSTR* name) noexcept override { return GetNodeName(*this, name); }
    HRESULT get_nodeType(DOMNodeType* type) noexcept override { return GetNodeType(*this, type); }
    HRESULT get_text(BSTR* text) noexcept override { return GetNodeText(*this, text); }
    HRESULT get_xml(BSTR* xml) noexcept override { return GetNodeXml(*this, xml); }
    HRESULT get_parentNode(IXMLDOMNode** parent) noexcept override {
        return GetParentNode(*this, parent);
    }
    HRESULT get_firstChild(IXMLDOMNode** child) noexcept override {
        return GetFirstChild(*this, child);
    }
    HRESULT get_childNodes(IXMLDOMNodeList** children) noexcept override {
        return GetChildNodes(*this, children);
    }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) noexcept override {
        return GetAttributes(*this, attributes);
    }
    HRESULT appendChild(IXMLDOMNode* child, IXMLDOMNode** added) noexcept override {
        return AppendChild(*this, child, added);
    }
    HRESULT transformNode(IXMLDOMNode* stylesheet, BSTR* result) noexcept override {
        return TransformNode(*this, stylesheet, result);
    }

protected:
    bool Implements(const IID& iid) const noexcept override {
        return iid == Interface::IID_ || iid == IXMLDOMNode::IID_;
    }
};

/// Keeps the address of a node's object in the node while the object lives.
class CXmlNodeIdentity {
public:
    CXmlNodeIdentity(xmlNodePtr node, IXMLDOMNode* object) : m_node(node) {
        m_node->_private = object;
    }
    CXmlNodeIdentity(const CXmlNodeIdentity&) = delete;
    CXmlNodeIdentity& operator=(const CXmlNodeIdentity&) = delete;
    ~CXmlNodeIdentity() { m_node->_private = nullptr; }

private:
    xmlNodePtr m_node;
};

/// A node other than the document object; asking for the same node twice gives the same object.
template <class Interface>
class CXmlNode final : public CXmlNodeBase<Interface> {
public:
    CXmlNode(std::shared_ptr<CXmlTree> tree, xmlNodePtr node)
        : m_held{std::move(tree), node}, m_identity(node, this) {}

    SXmlNode Held() override { return m_held; }

private:
    SXmlNode m_held;
    CXmlNodeIdentity m_identity;
};

} // namespace Nax::FrontEnd::XMLDB
