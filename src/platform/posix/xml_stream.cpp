// SPDX-License-Identifier: Apache-2.0
#include "xml_stream.h"

#include "xml_com_object.h"
#include "xml_fault_location.h"

#include <libxml/SAX2.h>
#include <algorithm>
#include <cstring>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t NoText = static_cast<std::size_t>(-1);

std::string_view ViewOf(const xmlChar* text, int length) {
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

} // namespace

CXmlStream::CXmlStream(CXmlSource& source, const SXmlStreamOptions& options)
    : CXmlParseSession(source, options.prohibitDtd, GetXmlLimits()),
      m_source(source),
      m_options(options) {}

CXmlStream::~CXmlStream() {
    if (m_plug != nullptr) {
        const CXmlLibraryGuard guard(EXmlLoading::Nothing, nullptr);
        xmlSchemaSAXUnplug(m_plug);
    }
}

SXmlFaultList CXmlStream::Parse() {
    xmlSAXHandler handler = {};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startDocument = xmlSAX2StartDocument;
    handler.isStandalone = xmlSAX2IsStandalone;
    handler.hasInternalSubset = xmlSAX2HasInternalSubset;
    handler.unparsedEntityDecl = xmlSAX2UnparsedEntityDecl;
    handler.startElementNs = OnStartElement;
    handler.endElementNs = OnEndElement;
    handler.characters = OnCharacters;
    handler.ignorableWhitespace = OnCharacters;
    handler.cdataBlock = OnCdata;
    handler.comment = OnComment;
    handler.processingInstruction = OnInstruction;
    Run(handler);
    if (Fatal()) {
        m_faults.faults.assign(1, *Fatal());
        m_faults.total = 1;
    }
    if (!LocateFaults(m_source, m_faults.faults)) {
        m_faults.total = 1;
    }
    return std::move(m_faults);
}

std::size_t CXmlStream::TagStart() const noexcept {
    // In a start tag's event the parser stands behind the last attribute, and the tag is still in
    // its buffer. No attribute value contains the character.
    const xmlParserInputPtr input = Input();
    const void* start =
        memrchr(input->base, '<', static_cast<std::size_t>(input->cur - input->base));
    return OffsetOf(start == nullptr ? input->cur : static_cast<const xmlChar*>(start));
}

const xmlChar* CXmlStream::QualifiedName(const xmlChar* prefix, const xmlChar* name) const {
    return prefix == nullptr ? name : xmlDictQLookup(Parser()->dict, prefix, name);
}

void CXmlStream::ReportStart(const xmlChar* name, const SAttributeEvent& event, long line) {
    m_attributes.clear();
    for (int at = 0; at < event.count; ++at) {
        const xmlChar** attribute = event.attributes + static_cast<std::ptrdiff_t>(at) * 5;
        m_attributes.push_back(
            {XMLDB::ViewOf(QualifiedName(attribute[1], attribute[0])),
             ViewOf(attribute[3], static_cast<int>(attribute[4] - attribute[3]))});
    }
    m_options.sink->StartElement(XMLDB::ViewOf(name), m_attributes, line);
}

void CXmlStream::OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                                const xmlChar* uri, int namespaceCount, const xmlChar** namespaces,
                                int count, int defaulted, const xmlChar** attributes) {
    auto* stream = SessionOf<CXmlStream>(context);
    constexpr std::size_t elementSize = 32;
    if (stream->Fatal()) {
        return;
    }
    stream->Contained([&] {
        if (!stream->TakesStart(namespaceCount, defaulted, count, attributes) ||
            (stream->IsEntity(context) && !stream->CountExpanded(elementSize))) {
            return;
        }
        const xmlParserInputPtr input = stream->Input();
        ++stream->m_event;
        stream->m_inEntity = stream->IsEntity(context);
        stream->m_startEvent = {count, attributes};
        SOpenElement element = {
            .name = stream->QualifiedName(prefix, name),
            .outline = nullptr,
            .offset = stream->m_inEntity ? stream->Offset() : stream->TagStart(),
            .textOffset = NoText,
            .seenChildren = 0,
            .isValidated = false,
            .hasContentFault = false};
        if (stream->m_options.sink != nullptr) {
            const xmlChar* tag = input->cur - (stream->Offset() - element.offset);
            const auto lines = std::count(tag, input->cur, static_cast<xmlChar>('\n'));
            stream->ReportStart(element.name, stream->m_startEvent,
                                static_cast<long>(input->line) - static_cast<long>(lines));
        }
        if (stream->m_open.empty() && stream->m_plug == nullptr) {
            stream->StartValidation(uri);
        }
        if (stream->m_validator != nullptr) {
            element.isValidated =
                stream->AdmitElement(element, XMLDB::ViewOf(name), XMLDB::ViewOf(uri));
        }
        stream->m_open.push_back(element);
        if (element.isValidated) {
            stream->m_validator->startElementNs(stream->m_validatorData, name, prefix, uri,
                                                namespaceCount, namespaces, count, defaulted,
                                                attributes);
        }
        stream->m_startEvent = {};
    });
}

void CXmlStream::OnEndElement(void* context, const xmlChar* name, const xmlChar* prefix,
                              const xmlChar* uri) {
    auto* stream = SessionOf<CXmlStream>(context);
    if (stream->Fatal() || stream->m_open.empty()) {
        return;
    }
    stream->Contained([&] {
        ++stream->m_event;
        if (stream->m_open.back().isValidated) {
            stream->m_validator->endElementNs(stream->m_validatorData, name, prefix, uri);
        }
        if (stream->m_options.sink != nullptr) {
            stream->m_options.sink->EndElement(XMLDB::ViewOf(stream->m_open.back().name));
        }
        stream->m_open.pop_back();
    });
}

/// Where the text from `first` on stands in the input. The parser hands on ASCII text where it
/// lies; sections and other text it copies, which are then looked for before the place that it has
/// reached. What comes from a reference is not found there, and has that place.
std::size_t CXmlStream::TextOffset(std::string_view text, std::size_t first, bool isSection) const {
    const xmlParserInputPtr input = Input();
    const auto* place = reinterpret_cast<const xmlChar*>(text.data() + first);
    if (!std::less<>()(place, input->base) && std::less<>()(place, input->end)) {
        return OffsetOf(place);
    }
    constexpr std::ptrdiff_t sectionEnd = 3;
    place = input->cur - (isSection ? std::min(sectionEnd, input->cur - input->base) : 0);
    std::size_t end = text.size();
    for (; end > first && place > input->base; --end) {
        if (*--place != static_cast<xmlChar>(text[end - 1])) {
            return Offset();
        }
        place -= text[end - 1] == '\n' && place > input->base && place[-1] == '\r' ? 1 : 0;
    }
    // What the parser has let go of already.
    return OffsetOf(place) - std::min(OffsetOf(place), end - first);
}

void CXmlStream::ReportText(const xmlChar* text, int length, bool isSection) {
    const std::string_view view = ViewOf(text, length);
    if (m_options.sink != nullptr) {
        m_options.sink->Characters(view);
    }
    SOpenElement& element = m_open.back();
    if (!element.isValidated) {
        return;
    }
    // The parser hands on a text in pieces; only the first of them that is not blank matters.
    const std::size_t first =
        m_textEvent == m_event ? view.npos : view.find_first_not_of(" \t\r\n");
    if (first != view.npos) {
        element.textOffset = TextOffset(view, first, isSection);
        m_textEvent = m_event;
    }
}

bool CXmlStream::TakesText(void* context, int length) {
    return !Fatal() && !m_open.empty() &&
           (!IsEntity(context) || CountExpanded(static_cast<std::size_t>(length)));
}

void CXmlStream::OnCharacters(void* context, const xmlChar* text, int length) {
    auto* stream = SessionOf<CXmlStream>(context);
    stream->Contained([&] {
        if (!stream->TakesText(context, length)) {
            return;
        }
        stream->ReportText(text, length, false);
        if (stream->m_open.back().isValidated) {
            stream->m_validator->characters(stream->m_validatorData, text, length);
        }
    });
}

void CXmlStream::OnCdata(void* context, const xmlChar* text, int length) {
    auto* stream = SessionOf<CXmlStream>(context);
    stream->Contained([&] {
        if (!stream->TakesText(context, length)) {
            return;
        }
        stream->ReportText(text, length, true);
        if (stream->m_open.back().isValidated) {
            stream->m_validator->cdataBlock(stream->m_validatorData, text, length);
        }
    });
}

void CXmlStream::OnComment(void* context, const xmlChar* /*text*/) {
    ++SessionOf<CXmlStream>(context)->m_event;
}

void CXmlStream::OnInstruction(void* context, const xmlChar* /*target*/, const xmlChar* /*data*/) {
    ++SessionOf<CXmlStream>(context)->m_event;
}

} // namespace Nax::FrontEnd::XMLDB
