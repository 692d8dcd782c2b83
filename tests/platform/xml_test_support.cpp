// SPDX-License-Identifier: Apache-2.0
#include "xml_test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <atomic>
#include <fstream>

namespace Nax::FrontEnd::XMLDB {

namespace {

SXmlTestFault Details(IXMLDOMParseError* error) {
    SXmlTestFault fault;
    _bstr_t reason;
    _bstr_t source;
    error->get_errorCode(&fault.code);
    error->get_reason(reason.GetAddress());
    error->get_srcText(source.GetAddress());
    error->get_line(&fault.line);
    error->get_linepos(&fault.position);
    fault.reason = TextOf(reason.GetBSTR());
    fault.source = TextOf(source.GetBSTR());
    return fault;
}

SXmlTestOutcome OutcomeOf(const IXMLDOMDocument2Ptr& document, HRESULT result,
                          VARIANT_BOOL successful) {
    SXmlTestOutcome outcome;
    outcome.result = result;
    outcome.successful = successful == VARIANT_TRUE;
    IXMLDOMParseErrorPtr error;
    IXMLDOMParseError2Ptr first;
    IXMLDOMParseErrorCollectionPtr all;
    EXPECT_EQ(document->get_parseError(&error), S_OK);
    EXPECT_EQ(error.QueryInterface(first), S_OK);
    EXPECT_EQ(first->get_allErrors(&all), S_OK);
    EXPECT_EQ(all->get_length(&outcome.total), S_OK);
    for (long index = 0;; ++index) {
        IXMLDOMParseError2Ptr item;
        if (all->get_item(index, &item) != S_OK) {
            break;
        }
        outcome.faults.push_back(Details(item));
    }
    EXPECT_EQ(outcome.successful, outcome.total == 0);
    EXPECT_EQ(Details(error).reason, outcome.faults.empty() ? "" : outcome.faults[0].reason);
    return outcome;
}

} // namespace

CXmlTestFolder::CXmlTestFolder() {
    static std::atomic<int> count{0};
    m_path = std::filesystem::temp_directory_path() /
             ("xml_test_" + std::to_string(::getpid()) + "_" + std::to_string(++count));
    std::filesystem::create_directories(m_path);
}

CXmlTestFolder::~CXmlTestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string CXmlTestFolder::Write(const std::string& name, std::string_view content) const {
    std::string path = Path(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string TextOf(BSTR text) {
    const char* narrow = _bstr_t(text, true);
    return narrow == nullptr ? std::string()
                             : std::string(_bstr_t(text, true).operator const char*());
}

IXMLDOMDocument2Ptr NewDocument() {
    IXMLDOMDocument2Ptr document;
    EXPECT_EQ(document.CreateInstance(CLSID_DOMDocument60), S_OK);
    document->put_preserveWhiteSpace(VARIANT_TRUE);
    return document;
}

IXMLDOMDocument2Ptr DocumentOf(std::string_view xml) {
    IXMLDOMDocument2Ptr document = NewDocument();
    const SXmlTestOutcome outcome = LoadText(document, xml);
    EXPECT_TRUE(outcome.successful) << (outcome.faults.empty() ? "" : outcome.faults[0].reason);
    return document;
}

IXMLDOMSchemaCollection2Ptr SchemasOf(std::string_view xsd) {
    IXMLDOMSchemaCollection2Ptr schemas;
    EXPECT_EQ(schemas.CreateInstance(CLSID_XMLSchemaCache60), S_OK);
    const _variant_t document(static_cast<IDispatch*>(DocumentOf(xsd).GetInterfacePtr()));
    EXPECT_EQ(schemas->add(_bstr_t("").GetBSTR(), document), S_OK) << TextOf(GetErrorDescription());
    return schemas;
}

IXMLDOMDocument2Ptr ValidatingDocument(const IXMLDOMSchemaCollection2Ptr& schemas, bool allFaults) {
    IXMLDOMDocument2Ptr document = NewDocument();
    const _variant_t collection(static_cast<IDispatch*>(schemas.GetInterfacePtr()));
    EXPECT_EQ(document->putref_schemas(collection), S_OK);
    const _variant_t on(static_cast<short>(-1));
    const _variant_t multiple(static_cast<short>(allFaults ? -1 : 0));
    EXPECT_EQ(document->setProperty(_bstr_t("ValidateOnParse"), on), S_OK);
    EXPECT_EQ(document->setProperty(_bstr_t("MultipleErrorMessages"), multiple), S_OK);
    return document;
}

IXMLDOMDocument2Ptr ValidatingDocument(std::string_view xsd, bool allFaults) {
    return ValidatingDocument(SchemasOf(xsd), allFaults);
}

SXmlTestOutcome Load(const IXMLDOMDocument2Ptr& document, const std::string& path) {
    VARIANT_BOOL successful = VARIANT_FALSE;
    const HRESULT result = document->load(_variant_t(path.c_str()), &successful);
    return OutcomeOf(document, result, successful);
}

SXmlTestOutcome LoadText(const IXMLDOMDocument2Ptr& document, std::string_view xml) {
    VARIANT_BOOL successful = VARIANT_FALSE;
    const HRESULT result = document->loadXML(_bstr_t(std::string(xml).c_str()), &successful);
    return OutcomeOf(document, result, successful);
}

SXmlTestOutcome LoadInto(const IXMLDOMDocument2Ptr& document, const std::string& path,
                         IXmlElementSink& sink) {
    VARIANT_BOOL successful = VARIANT_FALSE;
    const HRESULT result = LoadAndReport(document, _variant_t(path.c_str()), sink, &successful);
    return OutcomeOf(document, result, successful);
}

std::string XmlOf(IXMLDOMNode* node) {
    _bstr_t xml;
    EXPECT_GE(node->get_xml(xml.GetAddress()), 0);
    return TextOf(xml.GetBSTR());
}

std::string NodeTextOf(IXMLDOMNode* node) {
    _bstr_t text;
    EXPECT_GE(node->get_text(text.GetAddress()), 0);
    return TextOf(text.GetBSTR());
}

std::string NameOf(IXMLDOMNode* node) {
    _bstr_t name;
    EXPECT_GE(node->get_nodeName(name.GetAddress()), 0);
    return TextOf(name.GetBSTR());
}

IXMLDOMElementPtr RootOf(const IXMLDOMDocument2Ptr& document) {
    IXMLDOMElementPtr root;
    EXPECT_EQ(document->get_documentElement(&root), S_OK);
    return root;
}

void CRecordingSink::StartElement(std::string_view name, std::span<const SXmlAttribute> attributes,
                                  long line) {
    log.append("<").append(name);
    for (const SXmlAttribute& attribute : attributes) {
        log.append(" ").append(attribute.name).append("='").append(attribute.value).append("'");
    }
    log.append("@").append(std::to_string(line)).append(">");
}

void CRecordingSink::EndElement(std::string_view name) {
    log.append("</").append(name).append(">");
}

void CRecordingSink::Characters(std::string_view text) {
    log.append(text);
}

} // namespace Nax::FrontEnd::XMLDB
