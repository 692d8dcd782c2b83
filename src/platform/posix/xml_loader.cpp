// SPDX-License-Identifier: Apache-2.0
#include "xml_loader.h"

#include "xml_com_object.h"
#include "xml_memory.h"
#include "xml_source.h"

#include <libxml/parserInternals.h>
#include <libxml/xmlschemastypes.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::array<std::string_view, 4> XmlNamespaceLocations = {
    "http://www.w3.org/2001/xml.xsd", "https://www.w3.org/2001/xml.xsd",
    "http://www.w3.org/2009/01/xml.xsd", "https://www.w3.org/2009/01/xml.xsd"};

thread_local CXmlLibraryGuard* currentGuard = nullptr;

// Written once, before any thread can have a guard.
xmlExternalEntityLoader earlierLoader = nullptr;
xmlGenericErrorFunc earlierMessages = nullptr;
void* earlierMessagesContext = nullptr;

xmlParserInputPtr LoadForThread(const char* url, const char* id, xmlParserCtxtPtr context) {
    if (currentGuard != nullptr) {
        return currentGuard->Load(url, context);
    }
    return earlierLoader == nullptr ? nullptr : earlierLoader(url, id, context);
}

std::string Formatted(const char* format, va_list arguments) {
    std::array<char, 2048> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

__attribute__((format(printf, 2, 3))) void MessageForThread(void* /*context*/, const char* format,
                                                            ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = Formatted(format, arguments);
    va_end(arguments);
    if (currentGuard != nullptr) {
        currentGuard->AppendMessage(text);
    } else if (earlierMessages != nullptr) {
        earlierMessages(earlierMessagesContext, "%s", text.c_str());
    }
}

__attribute__((format(printf, 2, 3))) void MessageForGuard(void* /*context*/, const char* format,
                                                           ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = Formatted(format, arguments);
    va_end(arguments);
    if (currentGuard != nullptr) {
        currentGuard->AppendMessage(text);
    }
}

#if LIBXML_VERSION >= 21200
using TErrorPointer = const xmlError*;
#else
using TErrorPointer = xmlError*;
#endif

void ReceiveError(void* context, TErrorPointer error) {
    if (context != nullptr && error != nullptr) {
        static_cast<IXmlErrorReceiver*>(context)->OnXmlError(*error);
    }
}

void InitializeOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        InstallXmlMemory();
        xmlInitParser();
        xmlSchemaInitTypes();
        xsltInit();
        earlierLoader = xmlGetExternalEntityLoader();
        earlierMessages = xsltGenericError;
        earlierMessagesContext = xsltGenericErrorContext;
        xmlSetExternalEntityLoader(LoadForThread);
        xsltSetGenericErrorFunc(nullptr, MessageForThread);
    });
}

/// The libraries keep a state for each thread, which they make when they first meet it and without
/// which they do not survive: it is not left to them to find out that there is no room.
void PrepareThread() {
    thread_local bool t_prepared = false;
    if (!t_prepared) {
        const std::unique_ptr<char[]> room(new char[2 * sizeof(xmlGlobalState)]);
        t_prepared = xmlGetGlobalState() != nullptr;
    }
}

xmlParserInputPtr NewInput(xmlParserCtxtPtr context, std::string_view text,
                           const std::string& url) {
    xmlParserInputBufferPtr buffer = xmlParserInputBufferCreateMem(
        text.data(), static_cast<int>(text.size()), XML_CHAR_ENCODING_NONE);
    if (buffer == nullptr) {
        return nullptr;
    }
    xmlParserInputPtr input = xmlNewIOInputStream(context, buffer, XML_CHAR_ENCODING_NONE);
    if (input == nullptr) {
        xmlFreeParserInputBuffer(buffer);
        return nullptr;
    }
    input->filename =
        reinterpret_cast<const char*>(xmlStrdup(reinterpret_cast<const xmlChar*>(url.c_str())));
    return input;
}

} // namespace

CXmlLibraryGuard::CXmlLibraryGuard(EXmlLoading loading, IXmlErrorReceiver* receiver)
    : m_loading(loading), m_outer(currentGuard), m_receiver(receiver) {
    InitializeOnce();
    PrepareThread();
    m_outerStructured = xmlStructuredError;
    m_outerStructuredContext = xmlStructuredErrorContext;
    m_outerGeneric = xmlGenericError;
    m_outerGenericContext = xmlGenericErrorContext;
    xmlSetStructuredErrorFunc(m_receiver, ReceiveError);
    xmlSetGenericErrorFunc(nullptr, MessageForGuard);
    currentGuard = this;
}

CXmlLibraryGuard::~CXmlLibraryGuard() {
    currentGuard = m_outer;
    xmlSetStructuredErrorFunc(m_outerStructuredContext, m_outerStructured);
    xmlSetGenericErrorFunc(m_outerGenericContext, m_outerGeneric);
}

CXmlLibraryGuard* CXmlLibraryGuard::Current() noexcept {
    return currentGuard;
}

xmlParserInputPtr CXmlLibraryGuard::Load(const char* url, xmlParserCtxtPtr context) noexcept {
    try {
        return LoadAllowed(url == nullptr ? "" : url, context);
    } catch (const std::exception& failure) {
        try {
            m_failedLoads.emplace_back(failure.what());
        } catch (const std::exception&) {
            m_failedLoads.clear();
        }
        return nullptr;
    }
}

xmlParserInputPtr CXmlLibraryGuard::LoadAllowed(const std::string& url, xmlParserCtxtPtr context) {
    if (context == nullptr || context->inputNr > 0) {
        throw CXmlFailure("The external entity \"" + url + "\" is not loaded.");
    }
    for (const std::string_view location : XmlNamespaceLocations) {
        if (url == location) {
            return NewInput(context, BuiltInXmlNamespaceSchema(), url);
        }
    }
    const std::string path = LocalPathOf(url);
    if (m_loading == EXmlLoading::Nothing) {
        throw CXmlFailure("The file \"" + path + "\" is not loaded.");
    }
    m_hasLoadedFiles = true;
    const std::string text = ReadWholeFile(path, m_bytesLeft);
    m_bytesLeft -= text.size();
    if (m_loading == EXmlLoading::Definitions) {
        CountTags(text);
    }
    return NewInput(context, text, url);
}

void CXmlLibraryGuard::CountTags(std::string_view text) {
    const auto count = static_cast<std::size_t>(std::count(text.begin(), text.end(), '<'));
    if (count > m_tagsLeft) {
        throw CXmlFailure("There are more than 10,000 tags in it and what it includes.");
    }
    m_tagsLeft -= count;
}

void CXmlLibraryGuard::AppendMessage(std::string_view text) noexcept {
    constexpr std::size_t limit = 4096;
    try {
        m_messages.append(text.substr(0, limit - std::min(limit, m_messages.size())));
    } catch (const std::exception&) {
        m_messages.clear();
    }
}

} // namespace Nax::FrontEnd::XMLDB
