// SPDX-License-Identifier: Apache-2.0
#include "xml_document.h"

#include "xml_parse_error.h"

namespace Nax::FrontEnd::XMLDB {

CXmlDocument::CXmlDocument() : m_faults(std::make_shared<SXmlFaultList>()) {
    SetTree(CXmlTree::NewEmpty());
}

CXmlDocument::~CXmlDocument() {
    m_tree->owner = nullptr;
}

void CXmlDocument::SetTree(std::shared_ptr<CXmlTree> tree) {
    if (m_tree != nullptr) {
        m_tree->owner = nullptr;
    }
    m_tree = std::move(tree);
    m_tree->owner = this;
}

SXmlNode CXmlDocument::Held() {
    if (m_pending != nullptr) {
        BuildPendingTree();
    }
    return {m_tree, m_tree->Root()};
}

SXmlText CXmlDocument::Text() {
    const SXmlNode held = Held();
    return {held.tree->Serialized(), held.tree->Url()};
}

HRESULT CXmlDocument::put_preserveWhiteSpace(VARIANT_BOOL preserve) noexcept {
    m_preservesSpace = preserve != VARIANT_FALSE;
    return S_OK;
}

HRESULT CXmlDocument::createProcessingInstruction(
    BSTR target, BSTR data, IXMLDOMProcessingInstruction** instruction) noexcept {
    if (instruction == nullptr) {
        return E_POINTER;
    }
    *instruction = nullptr;
    return Guarded([&] {
        const std::string name = Utf8Of(target);
        const std::string content = Utf8Of(data);
        if (xmlValidateNCName(XmlTextOf(name.c_str()), 0) != 0 ||
            content.find("?>") != std::string::npos) {
            throw CXmlFailure("This is no processing instruction: " + name, E_INVALIDARG);
        }
        const SXmlNode held = Held();
        xmlNodePtr node = held.tree->Adopt(xmlNewDocPI(
            held.tree->Document(), XmlTextOf(name.c_str()), XmlTextOf(content.c_str())));
        return WrapNode(held.tree, node)
            ->QueryInterface(IXMLDOMProcessingInstruction::IID_,
                             reinterpret_cast<void**>(instruction));
    });
}

HRESULT CXmlDocument::get_parseError(IXMLDOMParseError** error) noexcept {
    if (error == nullptr) {
        return E_POINTER;
    }
    *error = nullptr;
    return Guarded([&] {
        *error = MakeParseError(m_faults).Detach();
        return S_OK;
    });
}

HRESULT CXmlDocument::get_documentElement(IXMLDOMElement** element) noexcept {
    if (element == nullptr) {
        return E_POINTER;
    }
    *element = nullptr;
    return Guarded([&] {
        const SXmlNode held = Held();
        xmlNodePtr root = xmlDocGetRootElement(held.tree->Document());
        if (root == nullptr) {
            return S_FALSE;
        }
        return WrapNode(held.tree, root)
            ->QueryInterface(IXMLDOMElement::IID_, reinterpret_cast<void**>(element));
    });
}

HRESULT CXmlDocument::putref_schemas(VARIANT schemas) noexcept {
    if (schemas.vt == VT_EMPTY || schemas.vt == VT_NULL ||
        (schemas.vt == VT_DISPATCH && schemas.pdispVal == nullptr)) {
        m_schemas = nullptr;
        return S_OK;
    }
    if (schemas.vt != VT_DISPATCH && schemas.vt != VT_UNKNOWN) {
        return E_INVALIDARG;
    }
    return Guarded([&] {
        IUnknown* object = schemas.vt == VT_DISPATCH ? schemas.pdispVal : schemas.punkVal;
        auto* collection = dynamic_cast<CXmlSchemaCollection*>(object);
        if (collection == nullptr) {
            throw CXmlFailure("The object is not a schema collection.", E_INVALIDARG);
        }
        m_schemas = IXMLDOMSchemaCollection2Ptr(collection);
        return S_OK;
    });
}

HRESULT CXmlDocument::setProperty(BSTR name, VARIANT value) noexcept {
    if (value.vt != VT_I2 && value.vt != VT_BOOL) {
        return E_INVALIDARG;
    }
    const bool isOn = (value.vt == VT_I2 ? value.iVal : value.boolVal) != 0;
    return Guarded([&] {
        const std::string property = Utf8Of(name);
        if (property == "AllowDocumentFunction") {
            m_allowsDocumentFunction = isOn;
        } else if (property == "ProhibitDTD") {
            m_prohibitsDtd = isOn;
        } else if (property == "ValidateOnParse") {
            m_validatesOnParse = isOn;
        } else if (property == "MultipleErrorMessages") {
            m_collectsAllFaults = isOn;
        } else {
            throw CXmlFailure("There is no property \"" + property + "\".", E_INVALIDARG);
        }
        return S_OK;
    });
}

_com_ptr_t<IXMLDOMDocument2> MakeXmlDocument() {
    return MakeComObject<CXmlDocument, IXMLDOMDocument2>();
}

} // namespace Nax::FrontEnd::XMLDB
