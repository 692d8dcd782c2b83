// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_fault.h"
#include "xml_handles.h"
#include "xml_source.h"

#include <naxfewxmldb/platform/xml_dom.h>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

namespace Nax::FrontEnd::XMLDB {

struct SXmlTreeOptions {
    bool preserveWhiteSpace = true;
    bool prohibitDtd = false;
};

/// A document as UTF-8 text and where it came from (a file: URL or empty).
struct SXmlText {
    std::string text;
    std::string url;
};

/// A document's nodes. Shared by the document object and every node object, so nodes stay valid
/// memory after the document has loaded something else. The XML declaration is a processing
/// instruction named "xml" among the document's children.
class CXmlTree {
public:
    explicit CXmlTree(TDocHandle document) : m_document(std::move(document)) {}
    CXmlTree(const CXmlTree&) = delete;
    CXmlTree& operator=(const CXmlTree&) = delete;
    ~CXmlTree();

    static std::shared_ptr<CXmlTree> NewEmpty();

    xmlDocPtr Document() const noexcept { return m_document.get(); }
    xmlNodePtr Root() const noexcept { return reinterpret_cast<xmlNodePtr>(m_document.get()); }

    /// Takes a node that has no parent yet into ownership.
    xmlNodePtr Adopt(xmlNodePtr node);
    /// Moves `child` under `parent`; throws CXmlFailure when it may not stand there.
    void Append(xmlNodePtr parent, xmlNodePtr child);

    std::string Serialized() const { return Serialized(Root()); }
    /// The node as XML text, with the namespaces that it uses.
    std::string Serialized(xmlNodePtr node) const;
    std::string Url() const;

    /// The document object that this tree belongs to, null once it has loaded another one.
    IXMLDOMNode* owner = nullptr;

private:
    std::string SerializedNode(xmlNodePtr node) const;

    TDocHandle m_document;
    std::unordered_set<xmlNodePtr> m_adopted; ///< some of them may have a parent by now
};

/// Builds the tree of a source; `fault` says why there is none when the result is null.
std::shared_ptr<CXmlTree> BuildTree(CXmlSource& source, const std::string& url,
                                    const SXmlTreeOptions& options,
                                    std::optional<SXmlFault>& fault);
/// As BuildTree; throws CXmlFailure with reason and line.
std::shared_ptr<CXmlTree> LoadTree(CXmlSource& source, const std::string& url,
                                   const SXmlTreeOptions& options);
/// The bare library document of a text, for the schema compiler and the transformation, which both
/// change what they get; without the declaration's node. Throws CXmlFailure.
TDocHandle ParsePlain(const std::string& text, const std::string& url);

} // namespace Nax::FrontEnd::XMLDB
