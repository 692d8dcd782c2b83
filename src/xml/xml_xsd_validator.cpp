// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/xml_xsd_validator.h>

#include "platform/xml_stream.h"
#include "support/bstr_text.h"
#include "support/format.h"
#include "support/trace.h"
#include "support/within_memory.h"
#include "xml/com_check.h"
#include "xml/error_block.h"
#include "xml/reported_fault.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CXmlXsdValidator";
constexpr char kFile[] = "xml_xsd_validator";
constexpr short kTrue = -1;
constexpr short kFalse = 0;
constexpr long kMaxShown = 100;

constexpr char kFileLabel[] = "File used for validation: ";
constexpr char kLocalFileLabel[] = "Local file used for validation: ";

bool IsSchemaText(std::string_view schema) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (schema.starts_with(kByteOrderMark)) {
        schema.remove_prefix(kByteOrderMark.size());
    }
    const std::size_t first = schema.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && schema[first] == '<';
}

IXMLDOMDocument2Ptr LoadSchema(const _bstr_t& schema) {
    IXMLDOMDocument2Ptr document;
    NAX_CHECK(document.CreateInstance(CLSID_DOMDocument60));
    NAX_CHECK(document->setProperty(_bstr_t(L"ProhibitDTD"), _variant_t(kFalse)));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    // The lines of a schema's own faults are counted in this document.
    NAX_CHECK(document->put_preserveWhiteSpace(VARIANT_TRUE));
    if (IsSchemaText(ToNarrow(schema))) {
        NAX_CHECK(document->loadXML(schema, &loaded));
    } else {
        NAX_CHECK(document->load(_variant_t(static_cast<const wchar_t*>(schema)), &loaded));
    }
    if (loaded != VARIANT_TRUE) {
        const SReportedFault fault = ReadFirstFault(document);
        throw _com_error(E_FAIL, _bstr_t(Format("The schema cannot be loaded: %s Line: %d",
                                                fault.reason.c_str(), static_cast<int>(fault.line))
                                             .c_str()));
    }
    return document;
}

IXMLDOMDocument2Ptr CreateValidatingDocument(const _bstr_t& schema) {
    IXMLDOMSchemaCollection2Ptr schemas;
    NAX_CHECK(schemas.CreateInstance(CLSID_XMLSchemaCache60));
    NAX_CHECK(schemas->add(_bstr_t(L""), _variant_t(LoadSchema(schema).GetInterfacePtr())));
    IXMLDOMDocument2Ptr document;
    NAX_CHECK(document.CreateInstance(CLSID_DOMDocument60));
    NAX_CHECK(document->putref_schemas(_variant_t(schemas.GetInterfacePtr())));
    NAX_CHECK(document->setProperty(_bstr_t(L"ValidateOnParse"), _variant_t(kTrue)));
    NAX_CHECK(document->setProperty(_bstr_t(L"MultipleErrorMessages"), _variant_t(kTrue)));
    return document;
}

std::string FormatHeader(const char* label, const std::string& name, const SReportedFault& first) {
    return Format(
        "<p><strong>%s</strong> '%s'\nValidation against XSD scheme: failed!\n\n"
        "Reason: %s\nSource: %s\nLine: %d\n</p>",
        label, name.c_str(), first.reason.c_str(), first.source.c_str(),
        static_cast<int>(first.line));
}

/// Reads the first faults and the number of all.
void ReadIssues(IXMLDOMParseError* firstError, SXmlValidationResult& result) {
    IXMLDOMParseError2Ptr error;
    IXMLDOMParseErrorCollectionPtr all;
    NAX_CHECK(
        firstError->QueryInterface(IXMLDOMParseError2::IID_, reinterpret_cast<void**>(&error)));
    NAX_CHECK(error->get_allErrors(&all));
    NAX_CHECK(all->get_length(&result.total));
    const long shown = std::min(result.total, kMaxShown);
    for (long index = 0; index < shown; ++index) {
        IXMLDOMParseError2Ptr item;
        NAX_CHECK(all->get_item(index, &item));
        SReportedFault fault = ReadFault(item);
        result.issues.push_back({std::move(fault.reason), std::move(fault.source), fault.line});
    }
}

std::string FormatIssues(const SXmlValidationResult& result) {
    std::string text;
    int number = 0;
    for (const SXmlIssue& issue : result.issues) {
        text += Format(
            "<p>\n<strong>Issue # %d</strong>: %s\n<strong>Source:</strong> %s\n"
            "<strong>Line:</strong> %d\n</p>",
            ++number, issue.reason.c_str(), issue.source.c_str(), static_cast<int>(issue.line));
    }
    if (result.total > number) {
        text += Format(
            "<p>\n<strong><span style=\"color: red; \">Issue # ...</span>: Only the "
            "first %d errors were displayed; a total of %d errors occurred.\n"
            "</strong></p>",
            static_cast<int>(kMaxShown), static_cast<int>(result.total));
    }
    return text;
}

} // namespace

struct CXmlXsdValidator::SRequest {
    bool useLocalCopy;
    const _bstr_t& fileName;
    const _bstr_t& localFileName;
    const _bstr_t& schema;
    IXmlElementSink* sink;
    SXmlValidationResult& result;
};

CXmlXsdValidator::CXmlXsdValidator(bool flag) : m_flag(flag) {}

CXmlXsdValidator::~CXmlXsdValidator() = default;

bool CXmlXsdValidator::Validate(bool useLocalCopy, const _bstr_t& fileName,
                                const _bstr_t& localFileName, const _bstr_t& schema,
                                _bstr_t& message) {
    SXmlValidationResult result;
    return Run({useLocalCopy, fileName, localFileName, schema, nullptr, result}, message);
}

bool CXmlXsdValidator::Validate(bool useLocalCopy, const _bstr_t& fileName,
                                const _bstr_t& localFileName, const _bstr_t& schema,
                                _bstr_t& message, IXmlElementSink& sink,
                                SXmlValidationResult& result) {
    result = {};
    return Run({useLocalCopy, fileName, localFileName, schema, &sink, result}, message);
}

bool CXmlXsdValidator::Run(const SRequest& request, _bstr_t& message) try {
    try {
        return Check(request, message);
    } catch (const _com_error& error) {
        const std::string text =
            std::string("CXmlXsdValidator::Validate. ") + DescribeComError(error);
        message = text.c_str();
        return Error(ErrorBlock("CXmlXsdValidator::Validate", kFile, __LINE__).c_str(),
                     text.c_str());
    }
} catch (...) {
    return FailWithoutMemory();
}

bool CXmlXsdValidator::Check(const SRequest& request, _bstr_t& message) {
    const char* label = request.useLocalCopy ? kFileLabel : kLocalFileLabel;
    const std::string name = OneLine(ToNarrow(request.fileName));
    const _bstr_t& source = request.useLocalCopy ? request.localFileName : request.fileName;
    const _variant_t path(ToNarrow(source).c_str());
    const IXMLDOMDocument2Ptr document = CreateValidatingDocument(request.schema);
    VARIANT_BOOL valid = VARIANT_FALSE;
    NAX_CHECK(request.sink != nullptr ? LoadAndReport(document, path, *request.sink, &valid)
                                      : document->load(path, &valid));
    request.result.wellFormed = true;
    if (valid == VARIANT_TRUE) {
        message =
            Format("%s '%s'\nValidation against XSD scheme: successed.\n\n", label, name.c_str())
                .c_str();
    } else {
        IXMLDOMParseErrorPtr error;
        NAX_CHECK(document->get_parseError(&error));
        const SReportedFault first = ReadFault(error);
        request.result.wellFormed = IsSchemaFault(first.code);
        request.result.readable = !IsReadingFault(first.code);
        ReadIssues(error, request.result);
        message = (FormatHeader(label, name, first) + FormatIssues(request.result)).c_str();
    }
    return valid == VARIANT_TRUE;
}

bool CXmlXsdValidator::Error(const char* block, const char* message) {
    NAX_TRACE_ERROR(kClass, "%s%s\n\n===========\n\n", block, message);
    return false;
}

} // namespace Nax::FrontEnd::XMLDB
