// SPDX-License-Identifier: Apache-2.0
#include "xml_test_schema.h"
#include "xml_test_support.h"

#include <gtest/gtest.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

struct SCase {
    std::string document;
    std::vector<std::string> reasons;
};

std::string Item(const std::string& attributes, const std::string& content = "") {
    return "<Root updated='u'><Items><Item " + attributes + ">" + content +
           "</Item></Items></Root>";
}

std::vector<std::string> ReasonsOf(const SXmlTestOutcome& outcome) {
    std::vector<std::string> reasons;
    for (const SXmlTestFault& fault : outcome.faults) {
        reasons.push_back(fault.reason);
    }
    return reasons;
}

TEST(XmlSchemaFaults, AreWordedForPeople) {
    const std::string longValue(300, 'x');
    const SCase cases[] = {
        {"<Root updated='u'/>", {}},
        {Item("id='abc' kind=\"it's\" short='xyz' range='2.5' list='1 2' n='-3' fixed='12'"), {}},
        {Item("id='{12}'"),
         {"Attribute \"id\" of element \"Item\" has the value \"{12}\", which does not match the "
          "pattern \"[a-f]{3}\" of type \"GUID\"."}},
        {Item("kind='is not accepted by the pattern &apos;x&apos;'"),
         {"Attribute \"kind\" of element \"Item\" has the value \"is not accepted by the pattern "
          "'x'\", which is not one of the allowed values \"A\", \"it's\"."}},
        {Item("one='2'"),
         {"Attribute \"one\" of element \"Item\" has the value \"2\", which is not the allowed "
          "value \"1\"."}},
        {Item("short='12345'"),
         {"Attribute \"short\" of element \"Item\" has the value \"12345\", which has a length of "
          "5; this exceeds the allowed maximum length of 3."}},
        {Item("range='1'"),
         {"Attribute \"range\" of element \"Item\" has the value \"1\", which is less than the "
          "minimum value allowed (2)."}},
        {Item("list='1 a'"),
         {"Attribute \"list\" of element \"Item\" has the value \"1 a\", which is not an "
          "integer."}},
        {Item("n='" + longValue + "'"),
         {"Attribute \"n\" of element \"Item\" has the value \"" + std::string(200, 'x') +
          "…\", which is not an integer."}},
        {Item("n=''"),
         {"Attribute \"n\" of element \"Item\" has the value \"\", which is not an integer."}},
        {Item("uri='http://[ x'"),
         {"Attribute \"uri\" of element \"Item\" has the value \"http://[ x\", which is not a "
          "URI."}},
        {Item("fixed='13'"),
         {"Attribute \"fixed\" of element \"Item\": The value \"13\" does not match the fixed "
          "value "
          "constraint \"12\"."}},
        {Item("id='1' n='x' other='y'"),
         {"Attribute \"id\" of element \"Item\" has the value \"1\", which does not match the "
          "pattern \"[a-f]{3}\" of type \"GUID\".",
          "Attribute \"n\" of element \"Item\" has the value \"x\", which is not an integer.",
          "Attribute \"other\" is not allowed for element \"Item\"."}},
        {Item("xml:space='preserve'"),
         {"Attribute \"xml:space\" is not allowed for element \"Item\"."}},
        {Item("", "<Memo xml:space='tight'/>"),
         {"Attribute \"xml:space\" of element \"Memo\" has the value \"tight\", which is not one "
          "of "
          "the allowed values \"default\", \"preserve\"."}},
        {"<Root/>", {"Element \"Root\" lacks the required attribute \"updated\"."}},
        {"<Root updated='a b'/>",
         {"Attribute \"updated\" of element \"Root\" has the value \"a b\", which is not a single "
          "word of letters, digits and the characters \".-_:\"."}},
        {"<Rooot/>", {"Element \"Rooot\" is not known as root of a document; expected: \"Root\"."}},
        {"<Root updated='u'><Items><Foo><Bar/></Foo><Item n='x'/></Items></Root>",
         {"Element \"Foo\" is not expected inside \"Items\"; expected: \"Item\".",
          "Attribute \"n\" of element \"Item\" has the value \"x\", which is not an integer."}},
        {"<Root updated='u'><Items/><Items/><Count>x</Count></Root>",
         {"Element \"Items\" may stand only once inside \"Root\".",
          "Element \"Count\" has the content \"x\", which is not an integer."}},
        {"<Root updated='u'><Pair><Item/></Pair></Root>",
         {"Element \"Pair\" lacks a required child element; expected: \"Empty\"."}},
        {"<Root updated='u'><Pair><Empty/></Pair></Root>",
         {"Element \"Empty\" is not expected inside \"Pair\"; expected: \"Item\"."}},
        {"<Root updated='u'><Pair><Item/><Empty>x</Empty></Pair></Root>",
         {"Element \"Empty\" must be empty, but contains text."}},
        {"<Root updated='u'><Pair><Item/><Empty><Item/></Empty></Pair></Root>",
         {"Element \"Empty\" must be empty, but contains elements."}},
        {"<Root updated='u'>text<Items>more</Items></Root>",
         {"Element \"Root\" may contain elements only, but contains text.",
          "Element \"Items\" may contain elements only, but contains text."}},
        {"<Root updated='u'><Count><Item/></Count></Root>",
         {"Element \"Count\" may contain text only, but contains elements."}},
    };
    const IXMLDOMDocument2Ptr document = ValidatingDocument(SmallSchema);
    for (const SCase& row : cases) {
        const SXmlTestOutcome outcome = LoadText(document, row.document);
        EXPECT_EQ(ReasonsOf(outcome), row.reasons) << row.document;
        EXPECT_EQ(outcome.total, static_cast<long>(row.reasons.size())) << row.document;
        EXPECT_EQ(outcome.result, row.reasons.empty() ? S_OK : S_FALSE) << row.document;
        for (const SXmlTestFault& fault : outcome.faults) {
            EXPECT_NE(fault.code, 0) << row.document;
            EXPECT_EQ(fault.line, 1) << row.document;
        }
    }
}

TEST(XmlSchemaFaults, CountsAllAndKeepsTheFirstThousand) {
    for (const int count : {101, 1500}) {
        std::string xml = "<Root updated='u'><Items>\n";
        for (int item = 0; item < count; ++item) {
            xml += "<Item n='x" + std::to_string(item) + "'/>\n";
        }
        xml += "</Items></Root>";
        const SXmlTestOutcome outcome = LoadText(ValidatingDocument(SmallSchema), xml);
        EXPECT_EQ(outcome.total, count);
        ASSERT_EQ(outcome.faults.size(), static_cast<std::size_t>(std::min(count, 1000)));
        const SXmlTestFault& last = outcome.faults.back();
        EXPECT_EQ(last.line, static_cast<long>(outcome.faults.size()) + 1);
        EXPECT_EQ(last.source, "<Item n='x" + std::to_string(outcome.faults.size() - 1) + "'/>");
    }
}

TEST(XmlSchemaFaults, OneFaultOnlyWithoutMultipleErrorMessages) {
    const IXMLDOMDocument2Ptr document = ValidatingDocument(SmallSchema, false);
    const SXmlTestOutcome outcome = LoadText(document, Item("n='x' id='1'"));
    EXPECT_EQ(outcome.total, 1);
    // A document that is not well-formed has that fault and no other.
    const SXmlTestOutcome broken = LoadText(ValidatingDocument(SmallSchema), "<Root><Items n=''>");
    ASSERT_EQ(broken.total, 1);
    EXPECT_EQ(broken.faults[0].reason,
              "The document ends inside element \"Items\", which begins in line 1.");
}

TEST(XmlSchemaFaults, ValidationIsOffWithoutSchemasOrProperty) {
    const IXMLDOMDocument2Ptr document = ValidatingDocument(SmallSchema);
    const _variant_t off(static_cast<short>(0));
    EXPECT_EQ(document->setProperty(_bstr_t("ValidateOnParse"), off), S_OK);
    EXPECT_TRUE(LoadText(document, "<Rooot/>").successful);
    const _variant_t on(static_cast<short>(-1));
    EXPECT_EQ(document->setProperty(_bstr_t("ValidateOnParse"), on), S_OK);
    EXPECT_FALSE(LoadText(document, "<Rooot/>").successful);
    EXPECT_EQ(document->putref_schemas(_variant_t()), S_OK);
    EXPECT_TRUE(LoadText(document, "<Rooot/>").successful);
}

TEST(XmlSchemaFaults, SchemasThatCannotBeUsedAreRefusedWithADescription) {
    IXMLDOMSchemaCollection2Ptr schemas;
    ASSERT_EQ(schemas.CreateInstance(CLSID_XMLSchemaCache60), S_OK);
    const char* const bad[] = {
        "<a/>",
        "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element ref='x'/></xs:schema>",
        "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:other'/>"};
    for (const char* text : bad) {
        const _variant_t document(static_cast<IDispatch*>(DocumentOf(text).GetInterfacePtr()));
        EXPECT_EQ(schemas->add(_bstr_t("").GetBSTR(), document), E_FAIL) << text;
        EXPECT_NE(TextOf(GetErrorDescription().GetBSTR()), "") << text;
        EXPECT_EQ(GetErrorDescription().length(), 0U) << text;
    }
    EXPECT_EQ(schemas->add(_bstr_t("").GetBSTR(), _variant_t("missing.xsd")), E_FAIL);
    long length = -1;
    EXPECT_EQ(schemas->get_length(&length), S_OK);
    EXPECT_EQ(length, 0);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
