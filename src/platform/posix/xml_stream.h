// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_parse_session.h"
#include "xml_schema_collection.h"

#include <naxfewxmldb/xml_element_sink.h>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

struct SXmlStreamOptions {
    const TXmlSchemas* schemas = nullptr; ///< null or empty: no validation
    IXmlElementSink* sink = nullptr;
    bool prohibitDtd = false;
    bool allFaults = true; ///< false: the first one only
};

/// One pass over a document that validates it and hands its elements on, without a tree.
///
/// Memory depends on the depth of the document, not on its length; nothing is allocated for an
/// element once the vectors have grown. An element that the schema's outline does not know at its
/// place is a fault of its own and kept from the validator with all that it contains, so that the
/// validator goes on with the siblings.
class CXmlStream : public CXmlParseSession {
public:
    CXmlStream(CXmlSource& source, const SXmlStreamOptions& options);
    ~CXmlStream() override;

    /// The document's faults with their places: a document that is not well-formed has exactly one.
    SXmlFaultList Parse();

private:
    struct SOpenElement {
        const xmlChar* name;            ///< qualified, in the parser's dictionary
        const SElementOutline* outline; ///< null when its children are the validator's business
        std::size_t offset;
        std::size_t textOffset;     ///< where its latest text that is not blank begins
        std::uint64_t seenChildren; ///< by position in the outline
        bool isValidated;
        bool hasContentFault; ///< it contains elements where none may be
    };
    struct SValueFault { ///< where the latest fault about a value was
        std::size_t event = 0;
        std::string attribute;
    };
    struct SAttributeEvent {
        int count = 0;
        const xmlChar** attributes = nullptr;
    };

    static void OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                               const xmlChar* uri, int namespaceCount, const xmlChar** namespaces,
                               int count, int defaulted, const xmlChar** attributes);
    static void OnEndElement(void* context, const xmlChar* name, const xmlChar* prefix,
                             const xmlChar* uri);
    static void OnCharacters(void* context, const xmlChar* text, int length);
    static void OnCdata(void* context, const xmlChar* text, int length);
    static void OnComment(void* context, const xmlChar* text);
    static void OnInstruction(void* context, const xmlChar* target, const xmlChar* data);

    void OnSchemaError(const xmlError& error) override;
    void ReportStart(const xmlChar* name, const SAttributeEvent& event, long line);
    bool TakesText(void* context, int length);
    void ReportText(const xmlChar* text, int length, bool isSection);
    std::size_t TextOffset(std::string_view text, std::size_t first, bool isSection) const;
    void StartValidation(const xmlChar* rootUri);
    /// False when the element is not for the validator.
    bool AdmitElement(SOpenElement& element, std::string_view localName, std::string_view uri);
    bool HasSchemaType(const SAttributeEvent& event) const;
    void AddFault(int code, std::string reason, std::size_t offset);
    std::string Describe(const xmlError& error, std::string_view attribute);
    std::size_t FaultOffset(int code, std::string_view attribute) const;
    /// Index of the attribute that a message names, -1 when there is none.
    int FindAttribute(std::string_view name) const;
    const xmlChar* QualifiedName(const xmlChar* prefix, const xmlChar* name) const;
    bool IsEntity(void* context) const noexcept { return context != Parser(); }
    std::size_t TagStart() const noexcept;

    CXmlSource& m_source;
    SXmlStreamOptions m_options;
    SXmlFaultList m_faults;
    std::vector<SOpenElement> m_open;
    std::vector<SXmlAttribute> m_attributes;
    std::size_t m_event = 0;     ///< counts what may stand between two texts
    std::size_t m_textEvent = 0; ///< before the latest text that is not blank
    std::size_t m_textFaultEvent = 0;
    SAttributeEvent m_startEvent; ///< attributes of the start tag being handled
    bool m_inEntity = false;
    SValueFault m_valueFault;
    const CSchemaOutline* m_outline = nullptr;
    TSchemaValidHandle m_validation;
    xmlSchemaSAXPlugPtr m_plug = nullptr;
    xmlSAXHandlerPtr m_validator = nullptr;
    void* m_validatorData = nullptr;
};

} // namespace Nax::FrontEnd::XMLDB
