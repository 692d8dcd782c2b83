// SPDX-License-Identifier: Apache-2.0
#include "xml_parse_session.h"

#include "xml_com_object.h"
#include "xml_fault_location.h"
#include "xml_fault_text.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>
#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char EntitiesLimit[] =
    "The document declares entities. Only without them may it have more than 256 elements inside "
    "one another, names of more than 50,000 bytes, or texts, values and comments of more than "
    "10,000,000 bytes.";

constexpr std::string_view ParserLimits[] = {"Excessive depth", "too big", "too long",
                                             "Huge input lookup"};

/// Whether the parser's own limits are in the way, whose messages advise what nobody can do.
bool IsParserLimit(const xmlError& error) {
    const std::string_view text = error.message == nullptr ? "" : error.message;
    return std::any_of(std::begin(ParserLimits), std::end(ParserLimits),
                       [&](std::string_view words) { return text.find(words) != text.npos; });
}

} // namespace

CXmlParseSession::CXmlParseSession(CXmlSource& source, bool prohibitDtd, const SXmlLimits& limits)
    : m_source(source), m_prohibitDtd(prohibitDtd), m_limits(limits) {}

CXmlParseSession::~CXmlParseSession() {
    TakeDocument();
}

TDocHandle CXmlParseSession::TakeDocument() noexcept {
    return TDocHandle(m_parser == nullptr ? nullptr : std::exchange(m_parser->myDoc, nullptr));
}

xmlParserInputPtr CXmlParseSession::Input() const noexcept {
    return m_parser->inputTab[0];
}

std::size_t CXmlParseSession::OffsetOf(const xmlChar* place) const noexcept {
    return static_cast<std::size_t>(Input()->consumed) +
           static_cast<std::size_t>(place - Input()->base);
}

void CXmlParseSession::Run(xmlSAXHandler& handler) {
    handler.internalSubset = OnInternalSubset;
    handler.entityDecl = OnEntityDeclaration;
    handler.getEntity = OnGetEntity;
    handler.getParameterEntity = OnGetParameterEntity;
    handler.warning = nullptr;
    handler.error = nullptr;
    handler.serror = nullptr;

    const CXmlLibraryGuard guard(EXmlLoading::Nothing, this);
    m_source.Rewind();
    m_parser.reset(xmlCreateIOParserCtxt(&handler, nullptr, ReadSource, nullptr, this,
                                         XML_CHAR_ENCODING_NONE));
    if (m_parser == nullptr) {
        throw std::bad_alloc();
    }
    m_parser->_private = static_cast<CXmlParseSession*>(this);
    xmlCtxtUseOptions(m_parser.get(),
                      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOENT | XML_PARSE_COMPACT |
                          (m_source.IgnoresDeclaration() ? XML_PARSE_IGNORE_ENC : 0));
    if (!m_source.Contradiction().empty()) {
        m_fatal = SXmlFault{
            .code = XML_ERR_UNSUPPORTED_ENCODING, .reason = m_source.Contradiction(), .offset = 0};
        return;
    }
    xmlParseDocument(m_parser.get());
    RefuseRest();
    if (m_thrown) {
        std::rethrow_exception(m_thrown);
    }
    m_memory.ThrowIfFailed();
    if (!m_source.Failure().empty()) {
        m_fatal = ReadingFault(m_source);
        return;
    }
    CheckNames();
    if (!m_fatal && m_limits.IsExceeded()) {
        m_fatal = SXmlFault{
            .code = XML_ERR_USER_STOP, .reason = m_limits.Reason(), .offset = m_limits.Offset()};
    } else if (!m_fatal && m_parser->wellFormed == 0) {
        SetFatal(m_parser->errNo, "The document is not well-formed.");
    }
}

/// The parser takes a zero character behind the outermost element for the end of the document.
void CXmlParseSession::RefuseRest() {
    if (!m_fatal && !m_thrown && m_parser->wellFormed != 0 && Input() != nullptr &&
        Input()->cur < Input()->end) {
        SetFatal(XML_ERR_DOCUMENT_END, "Extra content at the end of the document.");
    }
}

int CXmlParseSession::ReadSource(void* context, char* buffer, int size) noexcept {
    auto* session = static_cast<CXmlParseSession*>(context);
    int count = 0;
    session->Contained([&] {
        session->CheckNames();
        // After the fault nothing more is wanted; the end of the input ends the parser safely.
        if (!session->m_fatal && !session->m_memory.HasFailed()) {
            count = session->ReadWithinLimits(buffer, size);
        }
    });
    return count;
}

int CXmlParseSession::ReadWithinLimits(char* buffer, int size) {
    // What stands before the part that is too large may still have a fault of its own.
    int count = m_limits.IsExceeded() ? 0 : m_source.Read(buffer, size);
    if (count > 0) {
        count = static_cast<int>(m_limits.Scan({buffer, static_cast<std::size_t>(count)}));
    }
    if (count == 0 && m_limits.IsExceeded()) {
        m_fatal = SXmlFault{
            .code = XML_ERR_USER_STOP, .reason = m_limits.Reason(), .offset = m_limits.Offset()};
        StopParser();
    }
    return count;
}

void CXmlParseSession::Refuse(const char* what, std::uint64_t limit, const char* name) {
    SetFatal(XML_ERR_USER_STOP, m_limits.Describe(what, limit, name));
}

/// The parser keeps every name that it sees in a table that grows and becomes slow.
void CXmlParseSession::CheckNames() {
    constexpr std::size_t usageLimit = std::size_t{64} << 20U;
    if (m_fatal || m_parser == nullptr || m_parser->dict == nullptr) {
        return;
    }
    const std::uint64_t limit = m_limits.Limits().names;
    if (static_cast<std::uint64_t>(xmlDictSize(m_parser->dict)) > limit ||
        xmlDictGetUsage(m_parser->dict) > std::max<std::uint64_t>(usageLimit, limit * 100)) {
        Refuse("different names, or names that are as long as so many", limit, "names");
    }
}

bool CXmlParseSession::TakesStart(int namespaceCount, int defaulted, int count,
                                  const xmlChar** attributes) {
    const std::uint64_t limit = m_limits.Limits().attributes;
    if (defaulted > 0 && static_cast<std::uint64_t>(count) > limit) {
        Refuse("attributes in one element", limit, "attributes");
    } else if (namespaceCount > 0 && static_cast<std::uint64_t>(m_parser->nsNr) / 2 > limit) {
        Refuse("namespaces declared at one place", limit, "attributes");
    } else if (defaulted > 0) {
        constexpr std::size_t attributeSize = 32;
        std::size_t bytes = 0;
        for (std::ptrdiff_t at = count - defaulted; at < count; ++at) {
            bytes += attributeSize +
                     static_cast<std::size_t>(attributes[at * 5 + 4] - attributes[at * 5 + 3]);
        }
        return CountExpanded(bytes);
    }
    return !m_fatal;
}

void CXmlParseSession::SetFatal(int code, std::string reason) {
    if (!m_fatal) {
        const std::size_t offset =
            m_parser == nullptr || Input() == nullptr ? SXmlFault::NoOffset : OffsetOfFatal(code);
        m_fatal = SXmlFault{.code = code == 0 ? XML_ERR_INTERNAL_ERROR : code,
                            .reason = std::move(reason),
                            .offset = offset};
        StopParser();
        if (code == XML_ERR_ENTITY_LOOP) {
            LeaveNothingToRead();
        }
    }
}

/// The parser stands where it found the fault, except that it finds the end of a section before it
/// has taken the text in front of it.
std::size_t CXmlParseSession::OffsetOfFatal(int code) const {
    constexpr std::string_view sectionEnd = "]]>";
    const xmlParserInputPtr input = Input();
    if (code != XML_ERR_MISPLACED_CDATA_END || m_parser->inputNr != 1) {
        return Offset();
    }
    return OffsetOf(std::search(input->cur, input->end, sectionEnd.begin(), sectionEnd.end()));
}

/// Nothing more is reported, read or expanded, so the parser comes to its end with what it has
/// buffered. Its place in there stays: functions that tell a fault go on from a copy of it.
void CXmlParseSession::StopParser() noexcept {
    if (m_parser != nullptr) {
        m_parser->disableSAX = 1;
        m_parser->wellFormed = 0;
    }
}

/// Entities that refer to themselves or grow without end keep the parser busy for ever after it has
/// told so, as does its own state of having stopped. Where it tells so, and where it asks for one,
/// it has no copy of its place.
void CXmlParseSession::LeaveNothingToRead() noexcept {
    for (int at = 0; m_parser != nullptr && at < m_parser->inputNr; ++at) {
        m_parser->inputTab[at]->cur = m_parser->inputTab[at]->end;
    }
}

void CXmlParseSession::OnXmlError(const xmlError& error) noexcept {
    try {
        if (error.domain == XML_FROM_SCHEMASV) {
            OnSchemaError(error);
        } else if (error.level >= XML_ERR_ERROR && error.domain != XML_FROM_VALID && !m_fatal) {
            const bool isLimited = m_parser != nullptr && (m_parser->options & XML_PARSE_HUGE) == 0;
            SetFatal(error.code, isLimited && IsParserLimit(error) ? EntitiesLimit
                                                                   : DescribeSyntaxFault(error));
        }
    } catch (const std::exception&) {
        KeepException();
    }
}

void CXmlParseSession::KeepException() noexcept {
    m_thrown = std::current_exception();
    // Ends the parse: nothing more is read or reported.
    m_fatal.emplace();
    StopParser();
}

void CXmlParseSession::OnSchemaError(const xmlError& /*error*/) {}

bool CXmlParseSession::CountExpanded(std::size_t bytes) {
    constexpr std::size_t limit = 10'000'000;
    m_expandedBytes += bytes;
    if (m_expandedBytes > limit && m_expandedBytes > 5 * Offset()) {
        SetFatal(XML_ERR_ENTITY_LOOP,
                 "The document's entities and default values expand into too much text.");
    }
    return !m_fatal;
}

void CXmlParseSession::OnInternalSubset(void* context, const xmlChar* name, const xmlChar* publicId,
                                        const xmlChar* systemId) {
    auto* session = SessionOf<CXmlParseSession>(context);
    session->Contained([session] {
        if (session->m_prohibitDtd) {
            session->SetFatal(XML_ERR_DOCTYPE_NOT_FINISHED,
                              "The document has a document type declaration (DOCTYPE), which is "
                              "not allowed.");
        }
    });
    xmlSAX2InternalSubset(context, name, publicId, systemId);
}

void CXmlParseSession::OnEntityDeclaration(void* context, const xmlChar* name, int type,
                                           const xmlChar* publicId, const xmlChar* systemId,
                                           xmlChar* content) {
    static_cast<xmlParserCtxtPtr>(context)->options &= ~XML_PARSE_HUGE;
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

xmlEntityPtr CXmlParseSession::OnGetEntity(void* context, const xmlChar* name) {
    xmlEntityPtr entity = nullptr;
    auto* session = SessionOf<CXmlParseSession>(context);
    session->Contained([&] { entity = session->Allowed(xmlSAX2GetEntity(context, name)); });
    return entity;
}

xmlEntityPtr CXmlParseSession::OnGetParameterEntity(void* context, const xmlChar* name) {
    xmlEntityPtr allowed = nullptr;
    auto* session = SessionOf<CXmlParseSession>(context);
    session->Contained([&] {
        const xmlEntityPtr entity = session->Allowed(xmlSAX2GetParameterEntity(context, name));
        // The parser bounds the text that they expand to, but not how often, which may be for
        // nothing.
        constexpr std::size_t referenceSize = 32;
        const std::size_t length = entity == nullptr ? 0 : static_cast<std::size_t>(entity->length);
        allowed = session->CountExpanded(referenceSize + length) ? entity : nullptr;
    });
    if (session->m_fatal) {
        session->LeaveNothingToRead();
    }
    return allowed;
}

xmlEntityPtr CXmlParseSession::Allowed(xmlEntityPtr entity) {
    if (m_fatal) {
        return nullptr;
    }
    if (entity == nullptr || (entity->etype != XML_EXTERNAL_GENERAL_PARSED_ENTITY &&
                              entity->etype != XML_EXTERNAL_PARAMETER_ENTITY)) {
        return entity;
    }
    SetFatal(XML_ERR_ENTITYREF_NO_NAME, "The document refers to the external entity " +
                                            Quoted(ViewOf(entity->name)) +
                                            "; external entities are not loaded.");
    return nullptr;
}

} // namespace Nax::FrontEnd::XMLDB
