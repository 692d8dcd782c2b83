// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/platform/com_types.h>
#include <naxfewxmldb/platform/xml_dom.h>

#include "xml_com_object.h"
#include "xml_document.h"
#include "xml_schema_collection.h"

#include <cstdio>

const IID IXMLDOMNode::IID_ = {
    0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IXMLDOMNodeList::IID_ = {
    0x2933BF82, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IXMLDOMNamedNodeMap::IID_ = {
    0x2933BF83, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IXMLDOMElement::IID_ = {
    0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IXMLDOMProcessingInstruction::IID_ = {
    0x2933BF89, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IXMLDOMDocument2::IID_ = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IXMLDOMParseError::IID_ = {
    0x3EFAA426, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
const IID IXMLDOMParseError2::IID_ = {
    0x3EFAA428, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
const IID IXMLDOMParseErrorCollection::IID_ = {
    0x3EFAA429, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
const IID IXMLDOMSchemaCollection2::IID_ = {
    0x50EA08B0, 0xDD1B, 0x4664, {0x9A, 0x50, 0xC2, 0xF4, 0x0F, 0x4B, 0xD7, 0x9A}};

const CLSID CLSID_DOMDocument60 = {
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
const CLSID CLSID_XMLSchemaCache60 = {
    0x88D96A07, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};

namespace {

_bstr_t MessageOf(HRESULT result) {
    switch (result) {
        case S_OK:
            return "The operation completed successfully.";
        case S_FALSE:
            return "The operation completed, but gave nothing.";
        case E_NOTIMPL:
            return "Not implemented.";
        case E_NOINTERFACE:
            return "No such interface supported.";
        case E_POINTER:
            return "Invalid pointer.";
        case E_FAIL:
            return "Unspecified error.";
        case E_OUTOFMEMORY:
            return "Not enough memory resources are available to complete this operation.";
        case E_INVALIDARG:
            return "The parameter is incorrect.";
        case REGDB_E_CLASSNOTREG:
            return "Class not registered.";
        default:
            break;
    }
    char text[32];
    std::snprintf(text, sizeof(text), "Unknown error 0x%08X.", static_cast<unsigned int>(result));
    return text;
}

template <class Interface>
HRESULT Give(const _com_ptr_t<Interface>& created, const IID& iid, void** object) noexcept {
    return created.GetInterfacePtr()->QueryInterface(iid, object);
}

} // namespace

_variant_t::_variant_t() noexcept : VARIANT{} {}

_variant_t::_variant_t(short value) noexcept : VARIANT{} {
    vt = VT_I2;
    iVal = value;
}

_variant_t::_variant_t(const wchar_t* text) : VARIANT{} {
    bstrVal = SysAllocString(text);
    vt = VT_BSTR;
}

_variant_t::_variant_t(const char* text) : VARIANT{} {
    bstrVal = _bstr_t(text).Detach();
    vt = VT_BSTR;
}

_variant_t::_variant_t(IDispatch* object) noexcept : VARIANT{} {
    vt = VT_DISPATCH;
    pdispVal = object;
    if (object != nullptr) {
        object->AddRef();
    }
}

_variant_t::_variant_t(_variant_t&& other) noexcept : VARIANT(other) {
    static_cast<VARIANT&>(other) = VARIANT{};
}

_variant_t& _variant_t::operator=(_variant_t&& other) noexcept {
    if (this != &other) {
        Clear();
        static_cast<VARIANT&>(*this) = other;
        static_cast<VARIANT&>(other) = VARIANT{};
    }
    return *this;
}

_variant_t::~_variant_t() {
    Clear();
}

void _variant_t::Clear() noexcept {
    if (vt == VT_BSTR) {
        SysFreeString(bstrVal);
    } else if (vt == VT_DISPATCH && pdispVal != nullptr) {
        pdispVal->Release();
    } else if (vt == VT_UNKNOWN && punkVal != nullptr) {
        punkVal->Release();
    }
    static_cast<VARIANT&>(*this) = VARIANT{};
}

_com_error::_com_error(HRESULT result, const _bstr_t& description)
    : m_result(result), m_message(MessageOf(result)), m_description(description) {}

_com_error::~_com_error() = default;

void _com_issue_error(HRESULT result) {
    throw _com_error(result);
}

HRESULT CoCreateInstance(const CLSID& clsid, const IID& iid, void** object) noexcept {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    return Nax::FrontEnd::XMLDB::Guarded([&] {
        if (clsid == CLSID_DOMDocument60) {
            return Give(Nax::FrontEnd::XMLDB::MakeXmlDocument(), iid, object);
        }
        if (clsid == CLSID_XMLSchemaCache60) {
            return Give(Nax::FrontEnd::XMLDB::MakeXmlSchemaCollection(), iid, object);
        }
        return REGDB_E_CLASSNOTREG;
    });
}
