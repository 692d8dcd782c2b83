// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_node.h"
#include "xml_schema_collection.h"

#include <naxfewxmldb/xml_element_sink.h>

namespace Nax::FrontEnd::XMLDB {

/// The document object: an empty document until something is loaded into it. Loading replaces the
/// tree; a failed load leaves an empty document and the parse error that says why.
///
/// Without schemas a load builds the tree. With schemas (and "ValidateOnParse"), or with a sink,
/// it is one pass without a tree, and the tree is built from the same source when somebody asks
/// for a node. One thread at a time.
class CXmlDocument final : public CXmlNodeBase<IXMLDOMDocument2> {
public:
    CXmlDocument();
    ~CXmlDocument() override;

    HRESULT put_preserveWhiteSpace(VARIANT_BOOL preserve) noexcept override;
    HRESULT createProcessingInstruction(
        BSTR target, BSTR data, IXMLDOMProcessingInstruction** instruction) noexcept override;
    HRESULT load(VARIANT source, VARIANT_BOOL* successful) noexcept override;
    HRESULT loadXML(BSTR text, VARIANT_BOOL* successful) noexcept override;
    HRESULT get_parseError(IXMLDOMParseError** error) noexcept override;
    HRESULT get_documentElement(IXMLDOMElement** element) noexcept override;
    HRESULT putref_schemas(VARIANT schemas) noexcept override;
    HRESULT setProperty(BSTR name, VARIANT value) noexcept override;

    HRESULT LoadAndReport(const VARIANT& source, IXmlElementSink& sink,
                          VARIANT_BOOL* successful) noexcept;

    SXmlNode Held() override;
    bool AllowsDocumentFunction() const noexcept override { return m_allowsDocumentFunction; }
    /// The document as text, for the schema compiler.
    SXmlText Text();

private:
    struct SOrigin { ///< what was loaded: a file or a text
        std::string path;
        std::string text;
    };

    HRESULT LoadFile(const VARIANT& source, IXmlElementSink* sink, VARIANT_BOOL* successful);
    HRESULT LoadSource(CXmlSource& source, SOrigin origin, IXmlElementSink* sink,
                       VARIANT_BOOL* successful);
    HRESULT Finish(std::shared_ptr<SXmlFaultList> faults, VARIANT_BOOL* successful);
    void SetTree(std::shared_ptr<CXmlTree> tree);
    void BuildPendingTree();
    const TXmlSchemas* SchemasInForce() const noexcept;
    SXmlTreeOptions TreeOptions() const noexcept { return {m_preservesSpace, m_prohibitsDtd}; }

    std::shared_ptr<CXmlTree> m_tree;
    std::unique_ptr<SOrigin> m_pending; ///< set while the tree is still to be built
    std::shared_ptr<SXmlFaultList> m_faults;
    _com_ptr_t<IXMLDOMSchemaCollection2> m_schemas;
    bool m_preservesSpace = false;
    bool m_allowsDocumentFunction = false;
    bool m_prohibitsDtd = false;
    bool m_validatesOnParse = true;
    bool m_collectsAllFaults = false;
};

_com_ptr_t<IXMLDOMDocument2> MakeXmlDocument();

} // namespace Nax::FrontEnd::XMLDB
