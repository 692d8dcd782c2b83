// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// The document interfaces that the library uses, with the names, signatures and property names of
/// the platform where they are native. Every operation returns a result code and never throws;
/// text outputs are new BSTRs that the caller frees, object outputs carry a reference.
#include <naxfewxmldb/platform/com_types.h>

enum DOMNodeType {
    NODE_INVALID = 0,
    NODE_ELEMENT = 1,
    NODE_ATTRIBUTE = 2,
    NODE_TEXT = 3,
    NODE_CDATA_SECTION = 4,
    NODE_PROCESSING_INSTRUCTION = 7,
    NODE_COMMENT = 8,
    NODE_DOCUMENT = 9,
    NODE_DOCUMENT_TYPE = 10
};

struct IXMLDOMNode;

/// Nodes in the order of the document, counted from 0. Holds its nodes.
struct NAXFEWXMLDB_EXPORT IXMLDOMNodeList : IDispatch {
    static const IID IID_;
    /// S_FALSE and a null output past the end.
    virtual HRESULT get_item(long index, IXMLDOMNode** item) noexcept = 0;
    virtual HRESULT get_length(long* length) noexcept = 0;

protected:
    ~IXMLDOMNodeList() = default;
};

/// The attributes of one element, by name and by number.
struct NAXFEWXMLDB_EXPORT IXMLDOMNamedNodeMap : IDispatch {
    static const IID IID_;
    /// S_FALSE and a null output when there is no such node.
    virtual HRESULT getNamedItem(BSTR name, IXMLDOMNode** item) noexcept = 0;
    virtual HRESULT get_item(long index, IXMLDOMNode** item) noexcept = 0;
    virtual HRESULT get_length(long* length) noexcept = 0;

protected:
    ~IXMLDOMNamedNodeMap() = default;
};

/// A node of a document, which lives as long as any of its nodes is held.
struct NAXFEWXMLDB_EXPORT IXMLDOMNode : IDispatch {
    static const IID IID_;
    virtual HRESULT get_nodeName(BSTR* name) noexcept = 0;
    virtual HRESULT get_nodeType(DOMNodeType* type) noexcept = 0;
    /// Text of the node and everything below it.
    virtual HRESULT get_text(BSTR* text) noexcept = 0;
    /// The node as XML text.
    virtual HRESULT get_xml(BSTR* xml) noexcept = 0;
    virtual HRESULT get_parentNode(IXMLDOMNode** parent) noexcept = 0;
    virtual HRESULT get_firstChild(IXMLDOMNode** child) noexcept = 0;
    virtual HRESULT get_childNodes(IXMLDOMNodeList** children) noexcept = 0;
    /// S_FALSE and a null output for nodes that carry no attributes.
    virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) noexcept = 0;
    /// Moves `child` under this node; `added`, when not null, gets it with a reference.
    virtual HRESULT appendChild(IXMLDOMNode* child, IXMLDOMNode** added) noexcept = 0;
    /// Applies the stylesheet document to this node; fails with the processor's message as the
    /// description available through GetErrorDescription.
    virtual HRESULT transformNode(IXMLDOMNode* stylesheet, BSTR* result) noexcept = 0;

protected:
    ~IXMLDOMNode() = default;
};

/// A node that is an element.
struct NAXFEWXMLDB_EXPORT IXMLDOMElement : IXMLDOMNode {
    static const IID IID_;

protected:
    ~IXMLDOMElement() = default;
};

/// A node that is a processing instruction.
struct NAXFEWXMLDB_EXPORT IXMLDOMProcessingInstruction : IXMLDOMNode {
    static const IID IID_;

protected:
    ~IXMLDOMProcessingInstruction() = default;
};

/// One fault of a document. Lines and positions count from 1; 0 when there is none.
struct NAXFEWXMLDB_EXPORT IXMLDOMParseError : IDispatch {
    static const IID IID_;
    virtual HRESULT get_errorCode(long* code) noexcept = 0;
    virtual HRESULT get_url(BSTR* url) noexcept = 0;
    virtual HRESULT get_reason(BSTR* reason) noexcept = 0;
    /// The line at fault, cut around the fault at 500 characters.
    virtual HRESULT get_srcText(BSTR* text) noexcept = 0;
    virtual HRESULT get_line(long* line) noexcept = 0;
    virtual HRESULT get_linepos(long* position) noexcept = 0;

protected:
    ~IXMLDOMParseError() = default;
};

struct IXMLDOMParseErrorCollection;

/// A fault that also knows all faults of its document.
struct NAXFEWXMLDB_EXPORT IXMLDOMParseError2 : IXMLDOMParseError {
    static const IID IID_;
    virtual HRESULT get_allErrors(IXMLDOMParseErrorCollection** errors) noexcept = 0;

protected:
    ~IXMLDOMParseError2() = default;
};

/// All faults of one load, in the order in which they were found.
struct NAXFEWXMLDB_EXPORT IXMLDOMParseErrorCollection : IDispatch {
    static const IID IID_;
    /// Details are kept for the first 1,000 faults; S_FALSE and a null output past that.
    virtual HRESULT get_item(long index, IXMLDOMParseError2** error) noexcept = 0;
    /// Counts every fault, also those whose details were not kept.
    virtual HRESULT get_length(long* length) noexcept = 0;

protected:
    ~IXMLDOMParseErrorCollection() = default;
};

/// Compiled schemas. Safe to share between documents of several threads once filled.
struct NAXFEWXMLDB_EXPORT IXMLDOMSchemaCollection2 : IDispatch {
    static const IID IID_;
    /// `schema` is a document object (VT_DISPATCH) or a path (VT_BSTR). Fails with E_FAIL and a
    /// description when the schema cannot be compiled.
    virtual HRESULT add(BSTR namespaceUri, VARIANT schema) noexcept = 0;
    virtual HRESULT get_length(long* length) noexcept = 0;

protected:
    ~IXMLDOMSchemaCollection2() = default;
};

/// A document: loaded from a file or a text, and validated meanwhile when it has schemas.
struct NAXFEWXMLDB_EXPORT IXMLDOMDocument2 : IXMLDOMNode {
    static const IID IID_;
    virtual HRESULT put_preserveWhiteSpace(VARIANT_BOOL preserve) noexcept = 0;
    virtual HRESULT createProcessingInstruction(
        BSTR target, BSTR data, IXMLDOMProcessingInstruction** instruction) noexcept = 0;
    /// `source` is a path or file: URL (VT_BSTR). VARIANT_FALSE and S_FALSE when the document is
    /// missing, not well-formed or, with schemas and "ValidateOnParse", not valid; the parse error
    /// then says why.
    virtual HRESULT load(VARIANT source, VARIANT_BOOL* successful) noexcept = 0;
    virtual HRESULT loadXML(BSTR text, VARIANT_BOOL* successful) noexcept = 0;
    virtual HRESULT get_parseError(IXMLDOMParseError** error) noexcept = 0;
    /// S_FALSE and a null output when the document is empty.
    virtual HRESULT get_documentElement(IXMLDOMElement** element) noexcept = 0;
    /// A schema collection object (VT_DISPATCH), or VT_EMPTY for none.
    virtual HRESULT putref_schemas(VARIANT schemas) noexcept = 0;
    /// Known names: "AllowDocumentFunction", "ProhibitDTD", "ValidateOnParse",
    /// "MultipleErrorMessages". Values are VT_I2 or VT_BOOL, 0 is false. E_INVALIDARG otherwise.
    virtual HRESULT setProperty(BSTR name, VARIANT value) noexcept = 0;

protected:
    ~IXMLDOMDocument2() = default;
};

using IXMLDOMNodePtr = _com_ptr_t<IXMLDOMNode>;
using IXMLDOMElementPtr = _com_ptr_t<IXMLDOMElement>;
using IXMLDOMNodeListPtr = _com_ptr_t<IXMLDOMNodeList>;
using IXMLDOMNamedNodeMapPtr = _com_ptr_t<IXMLDOMNamedNodeMap>;
using IXMLDOMProcessingInstructionPtr = _com_ptr_t<IXMLDOMProcessingInstruction>;
using IXMLDOMParseErrorPtr = _com_ptr_t<IXMLDOMParseError>;
using IXMLDOMParseError2Ptr = _com_ptr_t<IXMLDOMParseError2>;
using IXMLDOMParseErrorCollectionPtr = _com_ptr_t<IXMLDOMParseErrorCollection>;
using IXMLDOMSchemaCollection2Ptr = _com_ptr_t<IXMLDOMSchemaCollection2>;
using IXMLDOMDocument2Ptr = _com_ptr_t<IXMLDOMDocument2>;

/// {88D96A05-F192-11D4-A65F-0040963251E5}
NAXFEWXMLDB_EXPORT extern const CLSID CLSID_DOMDocument60;
/// {88D96A07-F192-11D4-A65F-0040963251E5}
NAXFEWXMLDB_EXPORT extern const CLSID CLSID_XMLSchemaCache60;

/// Description of the calling thread's last failed interface operation; empty when there is none.
/// Reading it clears it.
NAXFEWXMLDB_EXPORT _bstr_t GetErrorDescription();
