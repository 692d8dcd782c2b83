// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_fault.h"
#include "xml_handles.h"
#include "xml_limit_scanner.h"
#include "xml_loader.h"
#include "xml_memory.h"
#include "xml_source.h"

#include <exception>
#include <optional>

namespace Nax::FrontEnd::XMLDB {

/// One parse of one source by the pull parser, with the policy that every document is under:
///
/// - the limits of SXmlLimits hold, and no smaller ones, so real documents pass however large they
///   are;
/// - as soon as an entity is declared the parser's own limits are switched back on, which bound
///   what entities expand to; default attribute values are bounded in the same spirit;
/// - external entities and DTDs are never read, and a reference to one is a fault;
/// - the first fault that makes the text no well-formed document ends the parse.
///
/// Derived classes say what happens with the events. One object parses once, on one thread.
class CXmlParseSession : public IXmlErrorReceiver {
public:
    CXmlParseSession(CXmlSource& source, bool prohibitDtd, const SXmlLimits& limits);
    CXmlParseSession(const CXmlParseSession&) = delete;
    CXmlParseSession& operator=(const CXmlParseSession&) = delete;
    ~CXmlParseSession() override;

    /// The fault that ended the parse, if any.
    const std::optional<SXmlFault>& Fatal() const noexcept { return m_fatal; }

    void OnXmlError(const xmlError& error) noexcept override;

protected:
    /// Parses with `handler`, whose operations get the parser context; SessionOf leads back here.
    void Run(xmlSAXHandler& handler);

    template <class Session>
    static Session* SessionOf(void* context) noexcept {
        return static_cast<Session*>(
            static_cast<CXmlParseSession*>(static_cast<xmlParserCtxtPtr>(context)->_private));
    }

    xmlParserCtxtPtr Parser() const noexcept { return m_parser.get(); }
    TDocHandle TakeDocument() noexcept;
    /// The document's own input, also while an entity is read.
    xmlParserInputPtr Input() const noexcept;
    std::size_t OffsetOf(const xmlChar* place) const noexcept;
    std::size_t Offset() const noexcept { return OffsetOf(Input()->cur); }

    /// Runs what an event does. No exception may cross the parser: it is thrown on by Run.
    template <class Event>
    void Contained(Event&& event) noexcept {
        try {
            event();
        } catch (...) {
            KeepException();
        }
    }
    void SetFatal(int code, std::string reason);
    std::size_t OffsetOfFatal(int code) const;
    /// False, and a fault, when a start tag brings too many attributes or namespaces, be it with
    /// the document type's help.
    bool TakesStart(int namespaceCount, int defaulted, int count, const xmlChar** attributes);
    /// Counts bytes that the document gets from its DTD; false, and a fault, when they outgrow the
    /// document itself.
    bool CountExpanded(std::size_t bytes);
    virtual void OnSchemaError(const xmlError& error);

private:
    static int ReadSource(void* context, char* buffer, int size) noexcept;
    int ReadWithinLimits(char* buffer, int size);
    void Refuse(const char* what, std::uint64_t limit, const char* name);
    void CheckNames();
    void RefuseRest();
    void StopParser() noexcept;
    void LeaveNothingToRead() noexcept;
    static void OnInternalSubset(void* context, const xmlChar* name, const xmlChar* publicId,
                                 const xmlChar* systemId);
    static void OnEntityDeclaration(void* context, const xmlChar* name, int type,
                                    const xmlChar* publicId, const xmlChar* systemId,
                                    xmlChar* content);
    static xmlEntityPtr OnGetEntity(void* context, const xmlChar* name);
    static xmlEntityPtr OnGetParameterEntity(void* context, const xmlChar* name);
    xmlEntityPtr Allowed(xmlEntityPtr entity);
    void KeepException() noexcept;

    CXmlSource& m_source;
    bool m_prohibitDtd;
    CXmlLimitScanner m_limits;
    std::optional<SXmlFault> m_fatal;
    std::exception_ptr m_thrown;
    CXmlMemoryWatch m_memory;
    std::size_t m_expandedBytes = 0;
    TParserHandle m_parser;
};

} // namespace Nax::FrontEnd::XMLDB
