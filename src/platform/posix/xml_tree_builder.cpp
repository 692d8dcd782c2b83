// SPDX-License-Identifier: Apache-2.0
#include "xml_com_object.h"
#include "xml_fault_location.h"
#include "xml_parse_session.h"
#include "xml_tree.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>
#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

/// Those in force, but for none less than by default: the library's own documents are trees, too.
SXmlLimits LimitsOfTrees() {
    SXmlLimits limits = GetXmlLimits();
    const SXmlLimits defaults;
    for (std::uint64_t SXmlLimits::*limit :
         {&SXmlLimits::depth, &SXmlLimits::attributes, &SXmlLimits::tagSize, &SXmlLimits::textSize,
          &SXmlLimits::doctypeSize, &SXmlLimits::names, &SXmlLimits::fileSize}) {
        limits.*limit = std::max(limits.*limit, defaults.*limit);
    }
    return limits;
}

/// A parse whose outcome is a tree.
class CTreeSession : public CXmlParseSession {
public:
    CTreeSession(CXmlSource& source, bool prohibitDtd)
        : CXmlParseSession(source, prohibitDtd, LimitsOfTrees()) {}

    TDocHandle Build() {
        xmlSAXHandler handler = {};
        xmlSAXVersion(&handler, 2);
        handler.startElementNs = OnStartElement;
        Run(handler);
        TDocHandle document = TakeDocument();
        return Fatal() ? nullptr : std::move(document);
    }

private:
    static void OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                               const xmlChar* uri, int namespaceCount, const xmlChar** namespaces,
                               int count, int defaulted, const xmlChar** attributes) {
        auto* session = SessionOf<CTreeSession>(context);
        session->Contained(
            [&] { session->TakesStart(namespaceCount, defaulted, count, attributes); });
        if (session->Fatal()) {
            return;
        }
        xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, count,
                              defaulted, attributes);
    }
};

bool KeepsSpace(xmlNodePtr element, bool inherited) {
    const TTextHandle space(xmlGetNsProp(element, XmlTextOf("space"), XML_XML_NAMESPACE));
    return space == nullptr ? inherited : ViewOf(space.get()) == "preserve";
}

/// Without recursion, since documents may be deep.
void RemoveBlankTexts(xmlDocPtr document) {
    std::vector<bool> keeps{false};
    xmlNodePtr node = document->children;
    while (node != nullptr) {
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            keeps.push_back(KeepsSpace(node, keeps.back()));
            node = node->children;
            continue;
        }
        xmlNodePtr next = nullptr;
        while (next == nullptr && node != nullptr) {
            next = node->next;
            xmlNodePtr parent = node->parent;
            if (node->type == XML_TEXT_NODE && !keeps.back() && xmlIsBlankNode(node) != 0) {
                xmlUnlinkNode(node);
                xmlFreeNode(node);
            }
            if (next == nullptr) {
                keeps.pop_back();
                node = parent->type == XML_ELEMENT_NODE ? parent : nullptr;
            }
        }
        node = next;
    }
}

void AddDeclaration(xmlDocPtr document, const std::string& declaration) {
    if (declaration.empty()) {
        return;
    }
    xmlNodePtr node = xmlNewDocPI(document, XmlTextOf("xml"), XmlTextOf(declaration.c_str()));
    if (node == nullptr) {
        throw std::bad_alloc();
    }
    if (document->children == nullptr) {
        xmlAddChild(reinterpret_cast<xmlNodePtr>(document), node);
    } else {
        xmlAddPrevSibling(document->children, node);
    }
}

/// Place and encoding; without one the serializer writes references for all but ASCII.
void SetOrigin(xmlDocPtr document, const std::string& url) {
    xmlFree(const_cast<xmlChar*>(document->encoding));
    document->encoding = xmlStrdup(XmlTextOf("UTF-8"));
    if (!url.empty()) {
        xmlFree(const_cast<xmlChar*>(document->URL));
        document->URL = xmlStrdup(XmlTextOf(url.c_str()));
    }
}

} // namespace

std::shared_ptr<CXmlTree> BuildTree(CXmlSource& source, const std::string& url,
                                    const SXmlTreeOptions& options,
                                    std::optional<SXmlFault>& fault) {
    CTreeSession session(source, options.prohibitDtd);
    TDocHandle document = session.Build();
    if (document == nullptr) {
        std::vector<SXmlFault> faults{session.Fatal().value_or(SXmlFault{})};
        LocateFaults(source, faults);
        fault = std::move(faults.front());
        return nullptr;
    }
    if (!options.preserveWhiteSpace) {
        RemoveBlankTexts(document.get());
    }
    AddDeclaration(document.get(), source.Declaration());
    if (!source.Failure().empty()) {
        fault = ReadingFault(source);
        return nullptr;
    }
    SetOrigin(document.get(), url);
    return std::make_shared<CXmlTree>(std::move(document));
}

std::shared_ptr<CXmlTree> LoadTree(CXmlSource& source, const std::string& url,
                                   const SXmlTreeOptions& options) {
    std::optional<SXmlFault> fault;
    std::shared_ptr<CXmlTree> tree = BuildTree(source, url, options, fault);
    if (tree == nullptr) {
        throw CXmlFailure(fault->reason + " (line " + std::to_string(fault->line) + ")");
    }
    return tree;
}

TDocHandle ParsePlain(const std::string& text, const std::string& url) {
    const auto source = CXmlSource::FromText(text);
    CTreeSession session(*source, false);
    TDocHandle document = session.Build();
    if (document == nullptr) {
        throw CXmlFailure(session.Fatal() ? session.Fatal()->reason : "The document is empty.");
    }
    SetOrigin(document.get(), url);
    return document;
}

} // namespace Nax::FrontEnd::XMLDB
