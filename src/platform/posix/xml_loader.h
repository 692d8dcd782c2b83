// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// The schema of the XML namespace, which stands in for its location on the web.
std::string_view BuiltInXmlNamespaceSchema();

/// Receives what the XML library has to say while a guard is active. Must not throw.
class IXmlErrorReceiver {
public:
    virtual ~IXmlErrorReceiver() = default;
    virtual void OnXmlError(const xmlError& error) noexcept = 0;
};

/// What the XML library may load by itself.
enum class EXmlLoading {
    Nothing,     ///< not even what a document names: no DTD, no external entity
    Definitions, ///< schemas and stylesheets that include others
    Data,        ///< what document() names
};

/// While an object lives, whatever the XML and XSLT libraries do on the calling thread is under
/// control: nothing comes from a network, local files only where allowed, entities of documents
/// never; no message is printed.
///
/// The libraries' loader and the XSLT library's message function belong to the process. The first
/// guard installs ours, which hand every call of a thread without a guard on to the earlier ones,
/// so a host that uses the libraries itself does not notice. Guards nest; construction and
/// destruction happen on one thread.
class CXmlLibraryGuard {
public:
    CXmlLibraryGuard(EXmlLoading loading, IXmlErrorReceiver* receiver);
    CXmlLibraryGuard(const CXmlLibraryGuard&) = delete;
    CXmlLibraryGuard& operator=(const CXmlLibraryGuard&) = delete;
    ~CXmlLibraryGuard();

    /// One sentence for each load that was refused or failed.
    const std::vector<std::string>& FailedLoads() const noexcept { return m_failedLoads; }
    /// True when a local file was loaded.
    bool HasLoadedFiles() const noexcept { return m_hasLoadedFiles; }
    /// Messages that are no structured errors (most of the XSLT library's), one after the other.
    const std::string& Messages() const noexcept { return m_messages; }

    /// For the process-wide functions only.
    static CXmlLibraryGuard* Current() noexcept;
    xmlParserInputPtr Load(const char* url, xmlParserCtxtPtr context) noexcept;
    void AppendMessage(std::string_view text) noexcept;
    /// Throws CXmlFailure when the schema or stylesheet and what it includes have too many tags all
    /// together: the libraries follow types to their bases and the like by recursion, in quadratic
    /// time.
    void CountTags(std::string_view text);
    void SetLoading(EXmlLoading loading) noexcept { m_loading = loading; }

private:
    static constexpr std::size_t LoadedBytes = std::size_t{64} << 20U;
    static constexpr std::size_t MostTags = 10'000;

    xmlParserInputPtr LoadAllowed(const std::string& url, xmlParserCtxtPtr context);

    EXmlLoading m_loading;
    CXmlLibraryGuard* m_outer;
    IXmlErrorReceiver* m_receiver;
    xmlStructuredErrorFunc m_outerStructured;
    void* m_outerStructuredContext;
    xmlGenericErrorFunc m_outerGeneric;
    void* m_outerGenericContext;
    std::vector<std::string> m_failedLoads;
    bool m_hasLoadedFiles = false;
    std::size_t m_bytesLeft = LoadedBytes; ///< of all files together
    std::size_t m_tagsLeft = MostTags;
    std::string m_messages;
};

} // namespace Nax::FrontEnd::XMLDB
