// SPDX-License-Identifier: Apache-2.0
#include "xml_node.h"

#include "xml_collections.h"
#include "xml_transform.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

std::string NameOf(xmlNodePtr node) {
    switch (node->type) {
        case XML_TEXT_NODE:
            return "#text";
        case XML_CDATA_SECTION_NODE:
            return "#cdata-section";
        case XML_COMMENT_NODE:
            return "#comment";
        case XML_DOCUMENT_NODE:
            return "#document";
        default:
            break;
    }
    const bool isNamespaced = node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE;
    const std::string name(ViewOf(node->name));
    return isNamespaced && node->ns != nullptr && node->ns->prefix != nullptr
               ? std::string(ViewOf(node->ns->prefix)) + ":" + name
               : name;
}

std::vector<xmlNodePtr> ChildrenOf(xmlNodePtr node) {
    std::vector<xmlNodePtr> children;
    if (node->type != XML_DTD_NODE) {
        for (xmlNodePtr child = node->children; child != nullptr; child = child->next) {
            children.push_back(child);
        }
    }
    return children;
}

/// Hands `object` out, S_FALSE for null.
template <class Interface>
HRESULT Give(_com_ptr_t<Interface> object, Interface** slot) {
    *slot = object.Detach();
    return *slot == nullptr ? S_FALSE : S_OK;
}

/// Clears the output, then runs `operation` with the node held.
template <class Output, class Operation>
HRESULT WithNode(IXmlNodeHolder& holder, Output* output, Operation&& operation) noexcept {
    if (output == nullptr) {
        return E_POINTER;
    }
    *output = Output{};
    return Guarded([&] { return operation(holder.Held()); });
}

} // namespace

IXmlNodeHolder& HolderOf(IXMLDOMNode* node) {
    auto* holder = dynamic_cast<IXmlNodeHolder*>(node);
    if (holder == nullptr) {
        throw CXmlFailure("The node is not one of this library's.", E_INVALIDARG);
    }
    return *holder;
}

IXMLDOMNodePtr WrapNode(const std::shared_ptr<CXmlTree>& tree, xmlNodePtr node) {
    if (node == nullptr) {
        return nullptr;
    }
    if (node == tree->Root() && tree->owner != nullptr) {
        return IXMLDOMNodePtr(tree->owner);
    }
    if (node->_private != nullptr) {
        return IXMLDOMNodePtr(static_cast<IXMLDOMNode*>(node->_private));
    }
    switch (node->type) {
        case XML_ELEMENT_NODE:
            return MakeComObject<CXmlNode<IXMLDOMElement>, IXMLDOMNode>(tree, node);
        case XML_PI_NODE:
            return MakeComObject<CXmlNode<IXMLDOMProcessingInstruction>, IXMLDOMNode>(tree, node);
        default:
            return MakeComObject<CXmlNode<IXMLDOMNode>, IXMLDOMNode>(tree, node);
    }
}

HRESULT GetNodeName(IXmlNodeHolder& holder, BSTR* name) noexcept {
    return WithNode(holder, name, [&](const SXmlNode& held) {
        *name = NewBstr(NameOf(held.node));
        return S_OK;
    });
}

HRESULT GetNodeType(IXmlNodeHolder& holder, DOMNodeType* type) noexcept {
    return WithNode(holder, type, [&](const SXmlNode& held) {
        *type = held.node->type == XML_DTD_NODE ? NODE_DOCUMENT_TYPE
                                                : static_cast<DOMNodeType>(held.node->type);
        return S_OK;
    });
}

HRESULT GetNodeText(IXmlNodeHolder& holder, BSTR* text) noexcept {
    return WithNode(holder, text, [&](const SXmlNode& held) {
        const TTextHandle content(xmlNodeGetContent(held.node));
        *text = NewBstr(ViewOf(content.get()));
        return S_OK;
    });
}

HRESULT GetNodeXml(IXmlNodeHolder& holder, BSTR* xml) noexcept {
    return WithNode(holder, xml, [&](const SXmlNode& held) {
        *xml = NewBstr(held.tree->Serialized(held.node));
        return S_OK;
    });
}

HRESULT GetParentNode(IXmlNodeHolder& holder, IXMLDOMNode** parent) noexcept {
    return WithNode(holder, parent, [&](const SXmlNode& held) {
        const bool hasParent = held.node->type != XML_ATTRIBUTE_NODE;
        return Give(WrapNode(held.tree, hasParent ? held.node->parent : nullptr), parent);
    });
}

HRESULT GetFirstChild(IXmlNodeHolder& holder, IXMLDOMNode** child) noexcept {
    return WithNode(holder, child, [&](const SXmlNode& held) {
        const bool hasChildren = held.node->type != XML_DTD_NODE;
        return Give(WrapNode(held.tree, hasChildren ? held.node->children : nullptr), child);
    });
}

HRESULT GetChildNodes(IXmlNodeHolder& holder, IXMLDOMNodeList** children) noexcept {
    return WithNode(holder, children, [&](const SXmlNode& held) {
        return Give(MakeNodeList(held.tree, ChildrenOf(held.node)), children);
    });
}

HRESULT GetAttributes(IXmlNodeHolder& holder, IXMLDOMNamedNodeMap** attributes) noexcept {
    return WithNode(holder, attributes, [&](const SXmlNode& held) {
        if (held.node->type != XML_ELEMENT_NODE) {
            return S_FALSE;
        }
        std::vector<xmlNodePtr> nodes;
        for (xmlAttrPtr item = held.node->properties; item != nullptr; item = item->next) {
            nodes.push_back(reinterpret_cast<xmlNodePtr>(item));
        }
        return Give(MakeNamedNodeMap(held.tree, std::move(nodes)), attributes);
    });
}

HRESULT AppendChild(IXmlNodeHolder& holder, IXMLDOMNode* child, IXMLDOMNode** added) noexcept {
    if (added != nullptr) {
        *added = nullptr;
    }
    if (child == nullptr) {
        return E_INVALIDARG;
    }
    return Guarded([&] {
        const SXmlNode parent = holder.Held();
        parent.tree->Append(parent.node, HolderOf(child).Held().node);
        if (added != nullptr) {
            child->AddRef();
            *added = child;
        }
        return S_OK;
    });
}

HRESULT TransformNode(IXmlNodeHolder& holder, IXMLDOMNode* stylesheet, BSTR* result) noexcept {
    if (stylesheet == nullptr) {
        return E_INVALIDARG;
    }
    return WithNode(holder, result, [&](const SXmlNode& source) {
        IXmlNodeHolder& sheet = HolderOf(stylesheet);
        const SXmlNode held = sheet.Held();
        *result = NewBstr(Transform({source.tree->Serialized(source.node), source.tree->Url()},
                                    {held.tree->Serialized(held.node), held.tree->Url()},
                                    sheet.AllowsDocumentFunction()));
        return S_OK;
    });
}

std::string QualifiedNameOf(xmlNodePtr node) {
    return NameOf(node);
}

} // namespace Nax::FrontEnd::XMLDB
