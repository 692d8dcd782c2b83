// SPDX-License-Identifier: Apache-2.0
#include "xml_test_support.h"

#include <gtest/gtest.h>
#include <thread>

namespace Nax::FrontEnd::XMLDB {
namespace {

struct SResult {
    HRESULT result = 0;
    std::string text;
    std::string description;
};

std::string Sheet(const std::string& body) {
    return "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>" +
           body + "</xsl:stylesheet>";
}

SResult Apply(IXMLDOMNode* source, const std::string& sheet, bool allowDocument) {
    const IXMLDOMDocument2Ptr stylesheet = DocumentOf(sheet);
    const _variant_t allow(static_cast<short>(allowDocument ? -1 : 0));
    EXPECT_EQ(stylesheet->setProperty(_bstr_t("AllowDocumentFunction"), allow), S_OK);
    SResult result;
    _bstr_t text;
    result.result = source->transformNode(stylesheet, text.GetAddress());
    result.text = TextOf(text.GetBSTR());
    result.description = TextOf(GetErrorDescription().GetBSTR());
    return result;
}

TEST(XmlTransform, GivesTextByOutputMethod) {
    const IXMLDOMDocument2Ptr source = DocumentOf("<a><b>ä€</b><b>2</b></a>");
    const std::string copy =
        "<xsl:template match='/'><r><xsl:copy-of select='//b'/></r>"
        "</xsl:template>";
    struct SCase {
        std::string body;
        std::string text;
    };
    const SCase cases[] = {
        {"<xsl:output method='text'/>", "ä€2"},
        {"<xsl:output method='text'/><xsl:template match='/'/>", ""},
        {"<xsl:output omit-xml-declaration='yes'/>" + copy, "<r><b>ä€</b><b>2</b></r>\n"},
        {"<xsl:output encoding='ISO-8859-1' omit-xml-declaration='yes'/>" + copy,
         "<r><b>ä€</b><b>2</b></r>\n"},
        {"<xsl:output method='text'/><xsl:template match='/'>"
         "<xsl:message>only a message</xsl:message>x</xsl:template>",
         "x"},
    };
    for (const SCase& row : cases) {
        const SResult result = Apply(source, Sheet(row.body), false);
        EXPECT_EQ(result.result, S_OK) << row.body << result.description;
        EXPECT_EQ(result.text, row.text) << row.body;
    }
    // A node below the document is a document of its own to the stylesheet.
    IXMLDOMNodePtr first;
    ASSERT_EQ(RootOf(source)->get_firstChild(&first), S_OK);
    EXPECT_EQ(Apply(first, Sheet("<xsl:output method='text'/>"), false).text, "ä€");
    EXPECT_EQ(XmlOf(source), "<a><b>ä€</b><b>2</b></a>");
}

TEST(XmlTransform, FailuresHaveDescriptions) {
    struct SCase {
        std::string sheet;
        const char* described;
    };
    const SCase cases[] = {
        {"<notasheet/>", "stylesheet"},
        {Sheet("<xsl:template match='/'><xsl:value-of select='('/></xsl:template>"), "("},
        {Sheet("<xsl:template match='/'><xsl:value-of select='nosuch()'/></xsl:template>"),
         "nosuch"},
        {Sheet("<xsl:template match='/'><xsl:message terminate='yes'>stop here</xsl:message>"
               "</xsl:template>"),
         "stop here"},
        {Sheet("<xsl:template match='/'><xsl:call-template name='t'/></xsl:template>"
               "<xsl:template name='t'><xsl:call-template name='t'/></xsl:template>"),
         "recursion"},
        {Sheet("<xsl:import href='http://localhost/x.xslt'/>"), "not a local file"},
        {Sheet("<xsl:include href='missing.xslt'/>"), "missing.xslt"},
    };
    testing::internal::CaptureStderr();
    for (const SCase& row : cases) {
        const SResult result = Apply(DocumentOf("<a/>"), row.sheet, true);
        EXPECT_EQ(result.result, E_FAIL) << row.sheet;
        EXPECT_NE(result.description.find(row.described), std::string::npos)
            << row.sheet << result.description;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XmlTransform, DocumentFunctionOnlyWhereAllowed) {
    const CXmlTestFolder folder;
    folder.Write("sub folder/part.xml", "<p>part</p>");
    const IXMLDOMDocument2Ptr source = NewDocument();
    const std::string path = folder.Write("ä main.xml", "<a><i loc='sub%20folder/part.xml'/></a>");
    ASSERT_TRUE(Load(source, path).successful);
    const std::string head = "<xsl:output method='text'/><xsl:template match='/'>";
    const std::string read =
        Sheet(head + "<xsl:value-of select='document(//i/@loc)/p'/></xsl:template>");
    const SResult allowed = Apply(source, read, true);
    EXPECT_EQ(allowed.result, S_OK) << allowed.description;
    EXPECT_EQ(allowed.text, "part");

    const SResult refused = Apply(source, read, false);
    EXPECT_EQ(refused.result, E_FAIL);
    EXPECT_EQ(refused.text, "");
    EXPECT_NE(refused.description.find("part.xml"), std::string::npos) << refused.description;

    for (const char* missing : {"missing.xml", "http://localhost:1/x.xml"}) {
        const SResult result = Apply(source,
                                     Sheet(head + "<xsl:value-of select=\"document('" + missing +
                                           "', /)\"/></xsl:template>"),
                                     true);
        EXPECT_EQ(result.result, E_FAIL) << missing;
        EXPECT_NE(result.description, "") << missing;
    }
    // No include, nothing to read.
    EXPECT_EQ(Apply(DocumentOf("<a/>"), read, true).result, S_OK);
}

TEST(XmlTransform, NeverWritesFiles) {
    const CXmlTestFolder folder;
    const std::string target = folder.Path("written.txt");
    const std::string sheet =
        "<xsl:stylesheet version='1.1' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' "
        "xmlns:s='http://icl.com/saxon' extension-element-prefixes='s'><xsl:template match='/'>"
        "<xsl:document href='" +
        target +
        "'>x</xsl:document>"
        "<s:output href='" +
        target + "'>x</s:output></xsl:template></xsl:stylesheet>";
    EXPECT_EQ(Apply(DocumentOf("<a/>"), sheet, true).result, E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST(XmlTransform, ThreadsKeepTheirMessagesApart) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread] {
            const std::string name = "function" + std::to_string(thread);
            const std::string bad = Sheet("<xsl:template match='/'><xsl:value-of select='" + name +
                                          "()'/></xsl:template>");
            for (int round = 0; round < 20; ++round) {
                const SResult result = Apply(DocumentOf("<a/>"), bad, false);
                EXPECT_EQ(result.result, E_FAIL);
                EXPECT_NE(result.description.find(name), std::string::npos) << result.description;
                EXPECT_EQ(
                    Apply(DocumentOf("<a>x</a>"), Sheet("<xsl:output method='text'/>"), false).text,
                    "x");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
