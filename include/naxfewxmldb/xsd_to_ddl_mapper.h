// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/query_builder.h>
#include <naxfewxmldb/text_processor.h>
#include <naxfewxmldb/xml_document.h>

#include <memory>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// Turns the landscape schema into SQLite statements: a stylesheet generates the raw text, which
/// is cut into one statement per table and rewritten so that SQLite accepts it and every landscape
/// table carries the columns that the loader needs.
///
/// Owns both documents. One thread at a time. Failures are traced and reported as false.
class NAXFEWXMLDB_EXPORT CXsdToDDLMapper {
public:
    /// Loads the built-in texts, or the two named files.
    CXsdToDDLMapper(bool builtIn, const _bstr_t& xsdFile, const _bstr_t& xsltFile);
    /// Loads the built-in texts, or shares the two given documents.
    CXsdToDDLMapper(bool builtIn, IXMLDOMDocument2Ptr xsd, IXMLDOMDocument2Ptr xslt);
    virtual ~CXsdToDDLMapper();
    CXsdToDDLMapper(const CXsdToDDLMapper&) = delete;
    CXsdToDDLMapper& operator=(const CXsdToDDLMapper&) = delete;

    /// Appends the statements of the schema's tables to the list. False when the transformation
    /// failed, with the list as it was.
    bool MapToDDL();
    /// Applies the stylesheet; `ddl` is untouched on failure.
    bool Transform(std::string& ddl);
    /// Validates a landscape file against the schema and reports the outcome through Error.
    bool Validate(const _bstr_t& fileName);
    /// Traces both texts; always false.
    bool Error(const char* block, const char* message);

    /// One statement per table, each beginning "DROP TABLE IF EXISTS ".
    const std::vector<std::string>& GetDDL() const { return m_ddl; }
    const CQueryBuilder::Tables& GetTables() const { return m_queryBuilder.GetTables(); }
    const CQueryBuilder& GetQueryBuilder() const { return m_queryBuilder; }
    CXSDDocument& GetXsdDocument() { return *m_xsd; }
    CXSLTDocument& GetXsltDocument() { return *m_xslt; }

private:
    void LoadBuiltIn();
    void TraceLoadStates();
    void ProcessStatement(std::string statement);

    bool m_builtIn;
    std::unique_ptr<CXSDDocument> m_xsd;
    std::unique_ptr<CXSLTDocument> m_xslt;
    CQueryBuilder m_queryBuilder;
    std::vector<std::string> m_ddl;
    TextProcessor m_textProcessor;
};

} // namespace Nax::FrontEnd::XMLDB
