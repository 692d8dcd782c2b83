// SPDX-License-Identifier: Apache-2.0
#include "scratch.h"

#include <gtest/gtest.h>
#include <naxfewxmldb/xml_document.h>
#include <naxfewxmldb/xml_xsd_validator.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr char kSchema[] =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='Root'>"
    "<xs:complexType><xs:sequence><xs:element name='Item' minOccurs='0' maxOccurs='unbounded'>"
    "<xs:complexType><xs:attribute name='n' type='xs:integer'/></xs:complexType></xs:element>"
    "</xs:sequence></xs:complexType></xs:element></xs:schema>";
constexpr char kReason[] =
    "Attribute \"n\" of element \"Item\" has the value \"x\", which is not an integer.";
constexpr char kFile[] = "File used for validation: ";
constexpr char kLocalFile[] = "Local file used for validation: ";

std::string Issue(int number, const SXmlIssue& issue) {
    return "<p>\n<strong>Issue # " + std::to_string(number) + "</strong>: " + issue.reason +
           "\n<strong>Source:</strong> " + issue.source + "\n<strong>Line:</strong> " +
           std::to_string(issue.line) + "\n</p>";
}

std::string FailureText(const std::string& label, const std::string& name,
                        const SXmlValidationResult& result) {
    const SXmlIssue& first = result.issues.at(0);
    std::string text = "<p><strong>" + label + "</strong> '" + name +
                       "'\nValidation against XSD scheme: failed!\n\nReason: " + first.reason +
                       "\nSource: " + first.source + "\nLine: " + std::to_string(first.line) +
                       "\n</p>";
    int number = 0;
    for (const SXmlIssue& issue : result.issues) {
        text += Issue(++number, issue);
    }
    if (result.total > 100) {
        text +=
            "<p>\n<strong><span style=\"color: red; \">Issue # ...</span>: Only the first 100 "
            "errors were displayed; a total of " +
            std::to_string(result.total) + " errors occurred.\n</strong></p>";
    }
    return text;
}

class CNameSink : public IXmlElementSink {
public:
    void StartElement(std::string_view name, std::span<const SXmlAttribute> attributes,
                      long line) override {
        log.append(name)
            .append("@")
            .append(std::to_string(line))
            .append(std::string(attributes.size(), '*'));
        log += ' ';
    }
    void EndElement(std::string_view name) override { log.append("/").append(name).append(" "); }
    void Characters(std::string_view) override {}

    std::string log;
};

class CXmlXsdValidatorTest : public ::testing::Test {
protected:
    bool Check(bool local, const std::string& name, const std::string& localName,
               const std::string& schema) {
        _bstr_t message = L"before";
        const bool valid = CXmlXsdValidator(true).Validate(local, name.c_str(), localName.c_str(),
                                                           schema.c_str(), message);
        m_message = static_cast<const char*>(message);
        CNameSink sink;
        const bool detailed = CXmlXsdValidator(false).Validate(
            local, name.c_str(), localName.c_str(), schema.c_str(), message, sink, m_result);
        EXPECT_EQ(valid, detailed);
        EXPECT_EQ(m_message, static_cast<const char*>(message)) << "both forms tell the same";
        m_elements = sink.log;
        return valid;
    }

    CScratchFolder m_folder;
    std::string m_message;
    SXmlValidationResult m_result;
    std::string m_elements;
};

TEST_F(CXmlXsdValidatorTest, ValidFileIsNamedInOneLine) {
    const std::string path = m_folder.Write("välid.xml", "<Root>\n<Item n='1'/>\n<Item/></Root>");
    EXPECT_TRUE(Check(false, path, "unused", kSchema));
    EXPECT_EQ("Local file used for validation:  '" + path +
                  "'\nValidation against XSD scheme: successed.\n\n",
              m_message);
    EXPECT_TRUE(m_result.wellFormed);
    EXPECT_EQ(0, m_result.total);
    EXPECT_TRUE(m_result.issues.empty());
    EXPECT_EQ("Root@1 Item@2* /Item Item@3 /Item /Root ", m_elements);

    EXPECT_TRUE(Check(true, "http://host/remote.xml", path, kSchema));
    EXPECT_EQ(
        "File used for validation:  'http://host/remote.xml'\nValidation against XSD "
        "scheme: successed.\n\n",
        m_message);
}

TEST_F(CXmlXsdValidatorTest, FaultsAreNumberedUpToAHundred) {
    for (const int faults : {1, 2, 100, 101, 150}) {
        std::string content = "<Root>\n";
        SXmlValidationResult expected;
        expected.total = faults;
        for (int fault = 0; fault < faults; ++fault) {
            content += "<Item n='x'/>\n";
            if (fault < 100) {
                expected.issues.push_back({kReason, "<Item n='x'/>", fault + 2});
            }
        }
        const std::string path = m_folder.Write("faulty.xml", content + "</Root>");
        EXPECT_FALSE(Check(false, path, "", kSchema));
        EXPECT_EQ(FailureText(kLocalFile, path, expected), m_message) << faults;
        EXPECT_FALSE(Check(true, "other.xml", path, kSchema));
        EXPECT_EQ(FailureText(kFile, "other.xml", expected), m_message) << faults;
        EXPECT_EQ(faults, m_result.total);
        EXPECT_EQ(expected.issues.size(), m_result.issues.size());
        EXPECT_TRUE(m_result.wellFormed);
    }
}

TEST_F(CXmlXsdValidatorTest, UnreadableFilesHaveOneIssue) {
    const struct {
        const char* name;
        const char* content;
        long line;
    } cases[] = {
        {"broken.xml", "<Root>\n<Item></Root>", 2},
        {"cut.xml", "<Root>\n<Item/>\n", 0},
        {"empty.xml", "", 0},
        {"missing.xml", nullptr, 0},
    };
    for (const auto& item : cases) {
        const std::string path = item.content == nullptr ? m_folder.File(item.name)
                                                         : m_folder.Write(item.name, item.content);
        EXPECT_FALSE(Check(false, path, "", kSchema)) << item.name;
        EXPECT_FALSE(m_result.wellFormed) << item.name;
        EXPECT_EQ(1, m_result.total) << item.name;
        ASSERT_EQ(1U, m_result.issues.size()) << item.name;
        EXPECT_NE("", m_result.issues[0].reason) << item.name;
        if (item.line != 0) {
            EXPECT_EQ(item.line, m_result.issues[0].line) << item.name;
        }
        EXPECT_EQ(FailureText(kLocalFile, path, m_result), m_message) << item.name;
    }
}

TEST_F(CXmlXsdValidatorTest, SchemaComesAsTextOrAsPath) {
    const std::string valid = m_folder.Write("valid.xml", "<Root/>");
    const std::string invalid = m_folder.Write("invalid.xml", "<Other/>");
    const std::string schemas[] = {
        kSchema,
        " \r\n\t" + std::string(kSchema),
        "\xEF\xBB\xBF" + std::string(kSchema),
        "<?xml version='1.0'?>" + std::string(kSchema),
        "<!DOCTYPE xs:schema [<!ENTITY e 'x'>]>" + std::string(kSchema),
        m_folder.Write("schema.xsd", kSchema),
        m_folder.Write("other.xsd", "\xEF\xBB\xBF<!-- x -->\n" + std::string(kSchema)),
    };
    for (const std::string& schema : schemas) {
        EXPECT_TRUE(Check(false, valid, "", schema)) << schema << '\n' << m_message;
        EXPECT_FALSE(Check(false, invalid, "", schema)) << schema;
        EXPECT_EQ(1, m_result.total) << schema;
    }
}

TEST_F(CXmlXsdValidatorTest, UnusableSchemaIsToldWithoutReadingTheFile) {
    const std::string path = m_folder.Write("valid.xml", "<Root/>");
    const std::string schemas[] = {
        "",
        "  ",
        "<xs:schema",
        "<notASchema/>",
        "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='a' "
        "type='missing'/></xs:schema>",
        m_folder.File("missing.xsd"),
        path,
    };
    for (const std::string& schema : schemas) {
        EXPECT_FALSE(Check(false, path, "", schema)) << schema;
        EXPECT_EQ(0U, m_message.find("CXmlXsdValidator::Validate. Exception _com_error: "))
            << m_message;
        EXPECT_NE(std::string::npos, m_message.find("\nDescription: ")) << m_message;
        EXPECT_FALSE(m_result.wellFormed) << schema;
        EXPECT_EQ(0, m_result.total) << schema;
        EXPECT_EQ("", m_elements) << schema;
    }
}

TEST_F(CXmlXsdValidatorTest, LandscapeSchemaKnowsItsTypes) {
    const std::string schema = CXmlDbDocument::LoadInternalResource(106, nullptr);
    const std::string uuid = "0a1B2c3D-0000-1111-2222-abcdefABCDEF";
    const struct {
        std::string service;
        long faults;
    } cases[] = {
        {"type='DEXA' uuid='" + uuid + "' shortcut='1' sncop='-1' mode='2'", 0},
        {"type='DEXA' uuid='" + uuid +
             "'><Memo xml:space='preserve'> x </Memo></Service><Service "
             "type='AO' uuid='" +
             uuid + "'",
         0},
        {"type='DEXA' uuid='{" + uuid + "}'", 1},
        {"type='Dexa' uuid='" + uuid + "' shortcut='2' sncop='10' mode='3' client='x'", 5},
        {"uuid='" + uuid + "' unknown='1'", 2},
        {"", 2},
    };
    for (const auto& item : cases) {
        const std::string path =
            m_folder.Write("landscape.xml", "<Landscape updated='2024'><Services><Service " +
                                                item.service + "/></Services></Landscape>");
        EXPECT_EQ(item.faults == 0, Check(false, path, "", schema)) << m_message;
        EXPECT_EQ(item.faults, m_result.total) << m_message;
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
