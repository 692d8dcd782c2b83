// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/xml_xsd_validator.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include "support/bstr_text.h"
#include "support/format.h"
#include "support/trace.h"
#include "xml/com_check.h"
#include "xml/error_block.h"
#include "xml/reported_fault.h"
#include "xml/resource_ids.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CXsdToDDLMapper";
constexpr char kFile[] = "xsd_to_ddl_mapper";
constexpr std::string_view kCreateTable = "CREATE TABLE";
constexpr std::string_view kPrimaryKey = "PRIMARY KEY";

// Elements that only hold others. The service template stands here in both numbers because it is
// a form for new services, not a landscape entry.
constexpr std::array<std::string_view, 9> kContainers = {
    "Messageservers", "Routers",  "ServiceTemplate", "ServiceTemplates", "Webdispatchers",
    "Workspaces",     "Includes", "LDAPS",           "Services"};

bool IsContainer(const std::string& table) {
    return std::find(kContainers.begin(), kContainers.end(), table) != kContainers.end();
}

/// Inserts `text` before the key clause; false when the statement has none.
bool InsertBeforeKey(std::string& statement, std::string_view text) {
    const std::size_t key = statement.find(kPrimaryKey);
    if (key == std::string::npos) {
        return false;
    }
    statement.insert(key, text);
    return true;
}

/// Takes the next statement off the front of `text`; empty when none is left.
std::string TakeStatement(std::string_view& text, const TextProcessor& textProcessor) {
    const std::size_t begin = text.find(kCreateTable);
    if (begin == std::string_view::npos) {
        text = {};
        return {};
    }
    const std::size_t end = std::min(text.find(kCreateTable, begin + 1), text.size());
    const std::string_view statement = textProcessor.TrimRight(text.substr(begin, end - begin));
    text.remove_prefix(end);
    return std::string(statement);
}

} // namespace

CXsdToDDLMapper::CXsdToDDLMapper(bool builtIn, const _bstr_t& xsdFile, const _bstr_t& xsltFile)
    : m_builtIn(builtIn),
      m_xsd(std::make_unique<CXSDDocument>()),
      m_xslt(std::make_unique<CXSLTDocument>()) {
    if (m_builtIn) {
        LoadBuiltIn();
    } else {
        m_xsd->Load(ToNarrow(xsdFile).c_str());
        m_xslt->Load(ToNarrow(xsltFile).c_str());
    }
    TraceLoadStates();
}

CXsdToDDLMapper::CXsdToDDLMapper(bool builtIn, IXMLDOMDocument2Ptr xsd, IXMLDOMDocument2Ptr xslt)
    : m_builtIn(builtIn),
      m_xsd(std::make_unique<CXSDDocument>()),
      m_xslt(std::make_unique<CXSLTDocument>()) {
    if (m_builtIn) {
        LoadBuiltIn();
    } else {
        m_xsd->SetDocument(std::move(xsd));
        m_xslt->SetDocument(std::move(xslt));
    }
    TraceLoadStates();
}

CXsdToDDLMapper::~CXsdToDDLMapper() = default;

void CXsdToDDLMapper::LoadBuiltIn() {
    m_xslt->LoadXML(CXmlDbDocument::LoadInternalResource(kStylesheetResource, nullptr));
    m_xsd->LoadXML(CXmlDbDocument::LoadInternalResource(kSchemaResource, nullptr));
}

void CXsdToDDLMapper::TraceLoadStates() {
    NAX_TRACE_AS(kClass, "CXsdToDDLMapper", "XSD load: %d",
                 static_cast<int>(m_xsd->GetLoadState()));
    NAX_TRACE_AS(kClass, "CXsdToDDLMapper", "XSLT load: %d",
                 static_cast<int>(m_xslt->GetLoadState()));
}

bool CXsdToDDLMapper::MapToDDL() {
    std::string ddl;
    if (!Transform(ddl)) {
        NAX_TRACE_ERROR(kClass, "Transformation was failed\n");
        return false;
    }
    std::string_view rest = m_textProcessor.TrimLeft(ddl);
    while (!rest.empty()) {
        NAX_TRACE(kClass, "Generated DDLs loop iteration started\n");
        std::string statement = TakeStatement(rest, m_textProcessor);
        if (!statement.empty()) {
            ProcessStatement(std::move(statement));
        }
        rest = m_textProcessor.TrimLeft(rest);
        NAX_TRACE(kClass, "Generated DDLs loop iteration finished\n");
    }
    return true;
}

void CXsdToDDLMapper::ProcessStatement(std::string statement) {
    // The schema's annotation of its id type reaches the text, and two attributes are SQL keywords.
    statement = m_textProcessor.ReplaceAll(
        std::move(statement),
        {{"The representation of a GUID, generally the id of an element.", ""},
         {"transaction", "trans"},
         {"index", "indx"}});
    statement = m_textProcessor.ReplaceAll(
        std::move(statement),
        {{"\r\n", ""}, {"\t", "\n"}, {"\n\n", "\n"}, {" ,", ","}, {"\n,", ","}, {"  ,", ","}});
    const std::string table = CQueryBuilder::ReadTableName(statement);
    NAX_TRACE_AS(kClass, "MapToDDL", "Table name: %s\n", table.c_str());
    if (IsContainer(table)) {
        return;
    }
    if (table != "Include") {
        const bool injected = InsertBeforeKey(statement, "file_id TEXT ,\n");
        NAX_TRACE_AS(kClass, "MapToDDL", "%s",
                     injected ? "Injection 'file_id'\n" : "Injection 'file_id' FAILED!\n");
    }
    if (table == "Item" || table == "Node") {
        m_queryBuilder.RegisterColumn(table, "parent_id", "TEXT");
        InsertBeforeKey(statement, "parent_id TEXT, ");
        NAX_TRACE_AS(kClass, "MapToDDL", "Injection 'parent_id' into table '%s'\n", table.c_str());
    }
    statement = m_textProcessor.ReplaceAll(std::move(statement), {{"'", ""}});
    m_queryBuilder.RegisterTable(table, statement);
    statement = m_textProcessor.ReplaceAll("DROP TABLE IF EXISTS " + table + ";\n" + statement,
                                           {{" TEXT", " TEXT default ''"}});
    m_ddl.push_back(std::move(statement));
    NAX_TRACE_AS(kClass, "MapToDDL", "DDL query processed successfully. Query: \n %s \n",
                 m_ddl.back().c_str());
}

bool CXsdToDDLMapper::Transform(std::string& ddl) {
    try {
        const IXMLDOMDocument2Ptr xsd = m_xsd->GetDocument();
        const IXMLDOMDocument2Ptr xslt = m_xslt->GetDocument();
        _bstr_t result;
        NAX_CHECK(xsd->transformNode(xslt.GetInterfacePtr(), result.GetAddress()));
        ddl = ToNarrow(result);
        NAX_TRACE(kClass,
                  "Transformation XSD to DDL completed successfully. The DDL data was "
                  "generated.\n");
        return true;
    } catch (const _com_error& error) {
        return Error(ErrorBlock("CXsdToDDLMapper::Transform", kFile, __LINE__).c_str(),
                     DescribeComError(error).c_str());
    }
}

bool CXsdToDDLMapper::Validate(const _bstr_t& fileName) {
    constexpr short kProhibited = -1;
    const std::string block = ErrorBlock("CXsdToDDLMapper::Validate", kFile, __LINE__);
    try {
        IXMLDOMSchemaCollection2Ptr schemas;
        NAX_CHECK(schemas.CreateInstance(CLSID_XMLSchemaCache60));
        NAX_CHECK(schemas->add(_bstr_t(L""), _variant_t(m_xsd->GetDocument().GetInterfacePtr())));
        IXMLDOMDocument2Ptr document;
        NAX_CHECK(document.CreateInstance(CLSID_DOMDocument60));
        NAX_CHECK(document->putref_schemas(_variant_t(schemas.GetInterfacePtr())));
        NAX_CHECK(document->setProperty(_bstr_t(L"ProhibitDTD"), _variant_t(kProhibited)));
        VARIANT_BOOL valid = VARIANT_FALSE;
        NAX_CHECK(document->load(_variant_t(static_cast<const wchar_t*>(fileName)), &valid));
        const SReportedFault fault = ReadFirstFault(document);
        const char* outcome = valid == VARIANT_TRUE
                                  ? "Validation result for XSD schema for: '%s'\nReason: %s\n"
                                    "Source: %s\nLine: %d\n"
                                  : "Validation for XSD schema failed for: '%s'\nReason: %s\n"
                                    "Source: %s\nLine: %d\n";
        Error(block.c_str(), Format(outcome, ToNarrow(fileName).c_str(), fault.reason.c_str(),
                                    fault.source.c_str(), static_cast<int>(fault.line))
                                 .c_str());
        return valid == VARIANT_TRUE;
    } catch (const _com_error& error) {
        return Error(block.c_str(), DescribeComError(error).c_str());
    }
}

bool CXsdToDDLMapper::Error(const char* block, const char* message) {
    NAX_TRACE_ERROR(kClass, "%s%s\n\n===========\n\n", block, message);
    return false;
}

} // namespace Nax::FrontEnd::XMLDB
