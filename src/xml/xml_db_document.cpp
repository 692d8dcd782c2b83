// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/xml_document.h>

#include "platform/resources.h"
#include "support/format.h"
#include "support/trace.h"
#include "xml/com_check.h"
#include "xml/error_block.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CXmlDbDocument";
constexpr char kFile[] = "xml_db_document";
constexpr int kTracedCharacters = 512;
constexpr char kTextResource[] = "MY_TEXTINCLUDE";

std::string DescribeLoadError(const _com_error& error) {
    return "Exception _com_error:\nDescription: " + ToNarrow(error.Description());
}

} // namespace

CXmlDbDocument::CXmlDbDocument() {
    try {
        NAX_CHECK(m_document.CreateInstance(CLSID_DOMDocument60));
        NAX_CHECK(m_document->put_preserveWhiteSpace(VARIANT_TRUE));
        IXMLDOMProcessingInstructionPtr declaration;
        NAX_CHECK(m_document->createProcessingInstruction(
            _bstr_t(L"xml"), _bstr_t(L"version='1.0' encoding='UTF-8'"), &declaration));
        NAX_CHECK(m_document->appendChild(declaration, nullptr));
        NAX_TRACE(kClass, "CXmlDbDocument created'\n");
    } catch (const _com_error& error) {
        CXmlDbDocument::Error(ErrorBlock("CXmlDbDocument::CXmlDbDocument", kFile, __LINE__).c_str(),
                              DescribeComError(error).c_str());
    }
}

CXmlDbDocument::~CXmlDbDocument() = default;

bool CXmlDbDocument::Load(const char* path) {
    try {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        NAX_CHECK(m_document->load(_variant_t(path), &loaded));
        FinishLoad(loaded == VARIANT_TRUE);
    } catch (const _com_error& error) {
        m_loadState = false;
        Error(ErrorBlock("CXmlDbDocument::Load", kFile, __LINE__).c_str(),
              DescribeLoadError(error).c_str());
    }
    NAX_TRACE(kClass, "%s : load state: %d\n", path, static_cast<int>(m_loadState));
    return m_loadState;
}

bool CXmlDbDocument::LoadXML(const std::string& text) {
    try {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        NAX_CHECK(m_document->loadXML(_bstr_t(text.c_str()), &loaded));
        FinishLoad(loaded == VARIANT_TRUE);
    } catch (const _com_error& error) {
        m_loadState = false;
        Error(ErrorBlock("CXmlDbDocument::LoadXML", kFile, __LINE__).c_str(),
              DescribeLoadError(error).c_str());
    }
    NAX_TRACE(kClass, "LoadXML state: %d'. XML starts with: \n%.*s\n... \n",
              static_cast<int>(m_loadState), kTracedCharacters, text.c_str());
    return m_loadState;
}

bool CXmlDbDocument::FinishLoad(bool loaded) {
    m_loadState = loaded;
    if (loaded) {
        return true;
    }
    NAX_CHECK(m_document->get_parseError(&m_parseError));
    long code = 0;
    _bstr_t reason;
    NAX_CHECK(m_parseError->get_errorCode(&code));
    NAX_CHECK(m_parseError->get_reason(reason.GetAddress()));
    // One text for both ways of loading; hosts search their logs for it.
    m_lastError = Format("CXmlDbDocument::LoadXML failed. Error: %d,\n%s\n", static_cast<int>(code),
                         ToNarrow(reason).c_str());
    return false;
}

void CXmlDbDocument::SetLoadState(bool state) {
    m_loadState = state;
}

bool CXmlDbDocument::GetLoadState() {
    return m_loadState;
}

void CXmlDbDocument::SetDocument(IXMLDOMDocument2Ptr document) {
    m_document = std::move(document);
}

IXMLDOMDocument2Ptr CXmlDbDocument::GetDocument() {
    return m_document;
}

bool CXmlDbDocument::Error(const char* block, const char* message) {
    NAX_TRACE_ERROR(kClass, "%s%s\n\n===========\n\n", block, message);
    return false;
}

std::string CXmlDbDocument::LoadInternalResource(int id, unsigned long* size) {
    std::string text;
    HMODULE module = nullptr;
    GetModuleHandleExA(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const char*>(&CXmlDbDocument::LoadInternalResource), &module);
    const HRSRC resource = size != nullptr
                               ? FindResourceA(module, MAKEINTRESOURCEA(id), RT_RCDATA)
                               : FindResourceA(module, MAKEINTRESOURCEA(id), kTextResource);
    if (resource != nullptr) {
        const void* bytes = LockResource(LoadResource(module, resource));
        text.assign(static_cast<const char*>(bytes), SizeofResource(module, resource));
    }
    if (size != nullptr) {
        *size = static_cast<unsigned long>(text.size());
    }
    NAX_TRACE_STATIC(kClass, "Loading from resources by id: %d, result: %d\n", id,
                     static_cast<int>(resource != nullptr));
    return text;
}

CXSDDocument::~CXSDDocument() = default;

} // namespace Nax::FrontEnd::XMLDB
