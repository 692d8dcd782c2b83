// SPDX-License-Identifier: Apache-2.0
#include "scratch.h"

#include <gtest/gtest.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>
#include <algorithm>

namespace Nax::FrontEnd::XMLDB {
namespace {

using Statements = std::vector<std::string>;

IXMLDOMDocument2Ptr DocumentOf(const std::string& xml, bool stylesheet = false) {
    CXSDDocument schema;
    CXSLTDocument sheet;
    CXmlDbDocument& document = stylesheet ? static_cast<CXmlDbDocument&>(sheet) : schema;
    EXPECT_TRUE(document.LoadXML(xml)) << document.GetLastErrorText();
    return document.GetDocument();
}

IXMLDOMDocument2Ptr BuiltInStylesheet() {
    return DocumentOf(CXmlDbDocument::LoadInternalResource(101, nullptr), true);
}

std::string Schema(const std::string& content) {
    return "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' "
           "xmlns:msdata='urn:schemas-microsoft-com:xml-msdata'>" +
           content + "</xs:schema>";
}

std::string Element(const std::string& name, const std::string& type) {
    return "<xs:element name='" + name + "'><xs:complexType>" + type +
           "</xs:complexType></xs:element>";
}

std::string Attribute(const std::string& name, const std::string& type = "xs:string") {
    return "<xs:attribute name='" + name + "' type='" + type + "'/>";
}

/// A whole statement as the mapper leaves it: columns with their types, the last one first bare.
std::string Table(const std::string& name, const Statements& columns) {
    std::string text = "DROP TABLE IF EXISTS " + name + ";\nCREATE TABLE \"" + name +
                       "\" \n( \n\"" + name + "_id\" INTEGER,\n";
    for (std::size_t column = 0; column < columns.size(); ++column) {
        text += columns[column] + (column + 1 < columns.size() ? ",\n" : "\n");
    }
    return text + ", file_id TEXT default '' ,\nPRIMARY KEY ( \"" + name + "_id\" )\n)";
}

/// What the mapper makes of a transformation's text.
Statements Cut(const std::string& text, bool expected = true) {
    CXsdToDDLMapper mapper(
        false, DocumentOf("<t><![CDATA[" + text + "]]></t>"),
        DocumentOf("<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                   "<x:output method='text'/><x:template match='/'><x:value-of select=\"translate("
                   "t, '~', '&#13;')\"/></x:template></x:stylesheet>",
                   true));
    EXPECT_EQ(expected, mapper.MapToDDL());
    return mapper.GetDDL();
}

TEST(CXsdToDDLMapper, MapsTheLandscapeSchema) {
    CXsdToDDLMapper mapper(true, _bstr_t(), _bstr_t());
    ASSERT_TRUE(mapper.MapToDDL());
    std::string text;
    for (const std::string& statement : mapper.GetDDL()) {
        const std::size_t name = std::string("DROP TABLE IF EXISTS ").size();
        text += (text.empty() ? "" : "\n") + statement + "\n-- end of " +
                statement.substr(name, statement.find(';') - name);
    }
    EXPECT_EQ(ReadAll(std::string(TEST_DATA_DIR) + "/landscape_ddl.sql"), text + "\n");

    const CQueryBuilder::Tables& tables = mapper.GetTables();
    ASSERT_EQ(13U, tables.size());
    EXPECT_EQ((Statements{"hidden", "serviceid", "timestamp", "uuid", "file_id", "parent_id"}),
              tables.at("Item"));
    EXPECT_EQ((Statements{"url", "indx", "description", "name"}), tables.at("Include"));
    EXPECT_EQ((Statements{"", "file_id"}), tables.at("Memo"));
    ASSERT_EQ(62U, tables.at("Service").size());
    EXPECT_EQ("", tables.at("Service").front());
    EXPECT_EQ("file_id", tables.at("Service").back());

    CXsdToDDLMapper fromNothing(true, IXMLDOMDocument2Ptr(), IXMLDOMDocument2Ptr());
    EXPECT_TRUE(fromNothing.MapToDDL());
    EXPECT_EQ(mapper.GetDDL(), fromNothing.GetDDL()) << "built in, whatever was given";
}

TEST(CXsdToDDLMapper, MapsOtherSchemas) {
    const std::string text = "TEXT default ''";
    const struct {
        std::string schema;
        Statements statements;
    } cases[] = {
        {"", {}},
        {Element("Bare", ""), {}},
        {"<xs:element name='Simple' type='xs:string'/>", {}},
        {Element("T", Attribute("transactions") + Attribute("reindexed")),
         {Table("T", {"\"transs\" " + text, "\"reindxed\" " + text})}},
        {Element("Indexes", Attribute("a")), {Table("Indexes", {"\"a\" " + text})}},
        {Element("indexes", Attribute("a")), {Table("indxes", {"\"a\" " + text})}},
        {Element("T", "<xs:all><xs:element name='no'/></xs:all>" + Attribute("a")),
         {Table("T", {"\"a\" " + text})}},
        {Element("ServiceTemplate", Attribute("a")) + Element("LDAPS", Attribute("a")) +
             Element("T", Attribute("a")),
         {Table("T", {"\"a\" " + text})}},
        {"<xs:element name='T' type='Named'/><xs:complexType name='Named'>" + Attribute("a") +
             "</xs:complexType>",
         {Table("T", {"\"a\" " + text})}},
        {Element("T", Attribute("i", "xs:int") + Attribute("d", "xs:decimal") +
                          Attribute("b", "xs:boolean") + Attribute("m", "money_type") +
                          Attribute("s", "Short") + Attribute("n", "Nested")) +
             "<xs:simpleType name='Short'><xs:restriction base='xs:date'><xs:maxLength value='9'/>"
             "</xs:restriction></xs:simpleType><xs:simpleType name='Nested'><xs:restriction "
             "base='Short'/></xs:simpleType>",
         {Table("T", {"\"i\" " + text + "INTEGER", "\"d\" " + text + "REAL",
                      "\"b\" " + text + "INTEGER", "\"m\" " + text + "TEXT",
                      "\"s\" " + text + "INTEGER(9)", "\"n\" " + text + "INTEGER(9)"})}},
        {Element("T",
                 "<xs:sequence><xs:element name='e' type='xs:string' minOccurs='0'/>"
                 "<xs:element ref='Bare'/></xs:sequence><xs:attribute name='x' "
                 "msdata:ColumnName='y' type='xs:string'/>"),
         {Table("T", {"\"e\" " + text + " NULL", "\"\" " + text, "\"y\" " + text})}},
    };
    for (const auto& item : cases) {
        CXsdToDDLMapper mapper(false, DocumentOf(Schema(item.schema)), BuiltInStylesheet());
        EXPECT_TRUE(mapper.MapToDDL()) << item.schema;
        EXPECT_EQ(item.statements, mapper.GetDDL()) << item.schema;
    }
}

TEST(CXsdToDDLMapper, FollowsIncludedSchemaFiles) {
    const CScratchFolder folder;
    folder.Write("inner.xsd", Schema("<xs:complexType name='Named'>" + Attribute("b") +
                                     "</xs:complexType>" + Element("Inner", Attribute("c"))));
    const std::string xsd =
        folder.Write("outer.xsd", Schema("<xs:include schemaLocation='inner.xsd'/><xs:element "
                                         "name='Outer' type='Named'/>"));
    const std::string xslt =
        folder.Write("sheet.xslt", CXmlDbDocument::LoadInternalResource(101, nullptr));
    CXsdToDDLMapper mapper(false, xsd.c_str(), xslt.c_str());
    EXPECT_TRUE(mapper.MapToDDL());
    Statements statements = mapper.GetDDL();
    std::sort(statements.begin(), statements.end());
    EXPECT_EQ((Statements{Table("Inner", {"\"c\" TEXT default ''"}),
                          Table("Outer", {"\"b\" TEXT default ''"})}),
              statements);
}

TEST(CXsdToDDLMapper, CutsAndRewritesTheText) {
    const struct {
        const char* text;
        Statements statements;
    } cases[] = {
        {"", {}},
        {" ~\n\t ", {}},
        {"no table here", {}},
        {"before CREATE TABLE \"A\" (a TEXT, PRIMARY KEY(a)) \n CREATE TABLE \"B\" (b TEXT)\t\n",
         {"DROP TABLE IF EXISTS A;\nCREATE TABLE \"A\" (a TEXT default '', file_id TEXT default '' "
          ",\nPRIMARY KEY(a))",
          "DROP TABLE IF EXISTS B;\nCREATE TABLE \"B\" (b TEXT default '')"}},
        {"CREATE TABLE \"Include\" (a TEXT, PRIMARY KEY(a))",
         {"DROP TABLE IF EXISTS Include;\nCREATE TABLE \"Include\" (a TEXT default '', PRIMARY "
          "KEY(a))"}},
        {"CREATE TABLE \"Node\" (a TEXT, PRIMARY KEY(a))",
         {"DROP TABLE IF EXISTS Node;\nCREATE TABLE \"Node\" (a TEXT default '', file_id TEXT "
          "default '' ,\nparent_id TEXT default '', PRIMARY KEY(a))"}},
        {"CREATE TABLE \"C\" (\ta TEXT  ,\n\n\n,'b'~\n TEXT ,c)",
         {"DROP TABLE IF EXISTS C;\nCREATE TABLE \"C\" (\na TEXT default '' ,\n,b TEXT default "
          "'',c)"}},
        {"CREATE TABLE D (The representation of a GUID, generally the id of an element.a)",
         {"DROP TABLE IF EXISTS D;\nCREATE TABLE D (a)"}},
        {"CREATE TABLE \"Services\" (a) CREATE TABLE \"Routers\" (b)", {}},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.statements, Cut(item.text)) << item.text;
    }
}

TEST(CXsdToDDLMapper, FailingTransformationLeavesTheListAlone) {
    const CScratchFolder folder;
    const std::string good = Schema(Element("T", Attribute("a")));
    const std::string terminating =
        "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
        "<x:template match='/'><x:message terminate='yes'>no</x:message></x:template>"
        "</x:stylesheet>";
    const std::pair<IXMLDOMDocument2Ptr, IXMLDOMDocument2Ptr> cases[] = {
        {DocumentOf(good), nullptr},
        {nullptr, BuiltInStylesheet()},
        {DocumentOf(good), DocumentOf("<notAStylesheet/>", true)},
        {DocumentOf(good), DocumentOf(terminating, true)},
    };
    int number = 0;
    for (const auto& [xsd, xslt] : cases) {
        CXsdToDDLMapper mapper(false, xsd, xslt);
        std::string ddl = "before";
        EXPECT_FALSE(mapper.Transform(ddl)) << number;
        EXPECT_EQ("before", ddl) << number;
        EXPECT_FALSE(mapper.MapToDDL()) << number;
        EXPECT_TRUE(mapper.GetDDL().empty()) << number++;
    }
    CXsdToDDLMapper missing(false, folder.File("a.xsd").c_str(), folder.File("b.xslt").c_str());
    EXPECT_FALSE(missing.MapToDDL());

    CXsdToDDLMapper mapper(false, DocumentOf(good), BuiltInStylesheet());
    ASSERT_TRUE(mapper.MapToDDL());
    mapper.GetXsltDocument().SetDocument(nullptr);
    EXPECT_FALSE(mapper.MapToDDL());
    EXPECT_EQ(1U, mapper.GetDDL().size());
}

TEST(CXsdToDDLMapper, ValidatesAFileAgainstItsSchema) {
    const CScratchFolder folder;
    CXsdToDDLMapper mapper(true, _bstr_t(), _bstr_t());
    EXPECT_TRUE(mapper.Validate(folder.Write("a.xml", "<Landscape updated='x'/>").c_str()));
    EXPECT_FALSE(mapper.Validate(folder.Write("b.xml", "<Landscape/>").c_str()));
    EXPECT_FALSE(mapper.Validate(folder.Write("c.xml", "<Landscape").c_str()));
    EXPECT_FALSE(mapper.Validate(folder.File("missing.xml").c_str()));
    EXPECT_FALSE(mapper.Validate(
        folder.Write("d.xml", "<!DOCTYPE Landscape []><Landscape updated='x'/>").c_str()))
        << "no document types";
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
