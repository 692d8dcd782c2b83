// SPDX-License-Identifier: Apache-2.0
#include "xml_tree.h"

#include "xml_com_object.h"
#include "xml_loader.h"

#include <libxml/xmlsave.h>
#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

/// Declares on `node`, while it lives, the namespaces that its ancestors declare and it does not,
/// so that the node's text can stand alone.
class CInheritedNamespaces {
public:
    explicit CInheritedNamespaces(xmlNodePtr node) : m_node(node) {
        if (node->type != XML_ELEMENT_NODE) {
            return;
        }
        m_last = &node->nsDef;
        while (*m_last != nullptr) {
            m_last = &(*m_last)->next;
        }
        for (xmlNodePtr up = node->parent; up != nullptr && up->type == XML_ELEMENT_NODE;
             up = up->parent) {
            for (xmlNsPtr declared = up->nsDef; declared != nullptr; declared = declared->next) {
                if (declared->href != nullptr && *declared->href != 0) {
                    xmlNewNs(node, declared->href, declared->prefix);
                }
            }
        }
    }
    CInheritedNamespaces(const CInheritedNamespaces&) = delete;
    CInheritedNamespaces& operator=(const CInheritedNamespaces&) = delete;
    ~CInheritedNamespaces() {
        if (m_last != nullptr && *m_last != nullptr) {
            xmlFreeNsList(std::exchange(*m_last, nullptr));
        }
    }

private:
    xmlNodePtr m_node;
    xmlNsPtr* m_last = nullptr;
};

} // namespace

CXmlTree::~CXmlTree() {
    for (xmlNodePtr node : m_adopted) {
        if (node->parent == nullptr) {
            xmlFreeNode(node);
        }
    }
}

std::shared_ptr<CXmlTree> CXmlTree::NewEmpty() {
    TDocHandle document(xmlNewDoc(XmlTextOf(XML_DEFAULT_VERSION)));
    if (document == nullptr) {
        throw std::bad_alloc();
    }
    document->encoding = xmlStrdup(XmlTextOf("UTF-8"));
    return std::make_shared<CXmlTree>(std::move(document));
}

xmlNodePtr CXmlTree::Adopt(xmlNodePtr node) {
    if (node == nullptr) {
        throw std::bad_alloc();
    }
    m_adopted.insert(node);
    return node;
}

void CXmlTree::Append(xmlNodePtr parent, xmlNodePtr child) {
    if (child->doc != m_document.get()) {
        throw CXmlFailure("The node belongs to another document.", E_INVALIDARG);
    }
    const bool isDocument = parent->type == XML_DOCUMENT_NODE;
    if (!isDocument && parent->type != XML_ELEMENT_NODE) {
        throw CXmlFailure("Only elements and documents have children.", E_INVALIDARG);
    }
    const bool mayMove = child->type == XML_ELEMENT_NODE || child->type == XML_PI_NODE ||
                         child->type == XML_COMMENT_NODE ||
                         (!isDocument && child->type == XML_CDATA_SECTION_NODE);
    for (xmlNodePtr up = parent; up != nullptr; up = up->parent) {
        if (up == child) {
            throw CXmlFailure("A node cannot be its own descendant.", E_INVALIDARG);
        }
    }
    xmlNodePtr root = xmlDocGetRootElement(m_document.get());
    const bool isSecondRoot =
        isDocument && child->type == XML_ELEMENT_NODE && root != nullptr && root != child;
    if (!mayMove || isSecondRoot) {
        throw CXmlFailure("The node cannot stand there.", E_INVALIDARG);
    }
    xmlUnlinkNode(child);
    // Not lost when it cannot be linked again, and harmless when it can.
    Adopt(child);
    if (xmlAddChild(parent, child) == nullptr) {
        throw std::bad_alloc();
    }
}

std::string CXmlTree::Url() const {
    return std::string(ViewOf(m_document->URL));
}

std::string CXmlTree::Serialized(xmlNodePtr node) const {
    if (node->type != XML_DOCUMENT_NODE) {
        return SerializedNode(node);
    }
    std::string text;
    for (xmlNodePtr child = node->children; child != nullptr; child = child->next) {
        text += SerializedNode(child);
        if (child->next != nullptr) {
            text += '\n';
        }
    }
    return text;
}

std::string CXmlTree::SerializedNode(xmlNodePtr node) const {
    const CXmlLibraryGuard guard(EXmlLoading::Nothing, nullptr);
    const CInheritedNamespaces namespaces(node);
    const TBufferHandle buffer(xmlBufferCreate());
    xmlSaveCtxtPtr context =
        buffer == nullptr
            ? nullptr
            : xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_NO_DECL | XML_SAVE_AS_XML);
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    xmlSaveTree(context, node);
    xmlSaveClose(context);
    std::string_view text = ViewOf(xmlBufferContent(buffer.get()));
    if (node->type == XML_ATTRIBUTE_NODE && text.starts_with(' ')) {
        text.remove_prefix(1);
    }
    while (node->type == XML_DTD_NODE && text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

} // namespace Nax::FrontEnd::XMLDB
