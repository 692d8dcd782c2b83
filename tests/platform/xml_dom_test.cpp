// SPDX-License-Identifier: Apache-2.0
#include "xml_test_schema.h"
#include "xml_test_support.h"

#include <gtest/gtest.h>
#include <fstream>
#include <thread>

namespace Nax::FrontEnd::XMLDB {
namespace {

IXMLDOMNodePtr Child(IXMLDOMNode* node, long index) {
    IXMLDOMNodeListPtr children;
    EXPECT_EQ(node->get_childNodes(&children), S_OK);
    IXMLDOMNodePtr child;
    children->get_item(index, &child);
    return child;
}

IXMLDOMNodePtr Attribute(IXMLDOMNode* node, const char* name) {
    IXMLDOMNamedNodeMapPtr attributes;
    EXPECT_EQ(node->get_attributes(&attributes), S_OK);
    IXMLDOMNodePtr attribute;
    attributes->getNamedItem(_bstr_t(name), &attribute);
    return attribute;
}

TEST(XmlDom, FreshDocumentTakesADeclaration) {
    const IXMLDOMDocument2Ptr document = NewDocument();
    IXMLDOMElementPtr root;
    EXPECT_EQ(document->get_documentElement(&root), S_FALSE);
    EXPECT_FALSE(static_cast<bool>(root));
    EXPECT_EQ(XmlOf(document), "");
    IXMLDOMProcessingInstructionPtr instruction;
    ASSERT_EQ(document->createProcessingInstruction(
                  _bstr_t("xml"), _bstr_t("version='1.0' encoding='UTF-8'"), &instruction),
              S_OK);
    IXMLDOMNodePtr added;
    ASSERT_EQ(document->appendChild(instruction, &added), S_OK);
    EXPECT_EQ(added.GetInterfacePtr(), instruction.GetInterfacePtr());
    EXPECT_EQ(XmlOf(document), "<?xml version='1.0' encoding='UTF-8'?>");
    ASSERT_EQ(document->createProcessingInstruction(_bstr_t("unused"), _bstr_t("x"), &instruction),
              S_OK);
    EXPECT_EQ(document->createProcessingInstruction(_bstr_t("a b"), _bstr_t("x"), &instruction),
              E_INVALIDARG);
    EXPECT_EQ(document->createProcessingInstruction(_bstr_t("a"), _bstr_t("?>"), &instruction),
              E_INVALIDARG);
}

TEST(XmlDom, SerializesWhatWasLoaded) {
    const char* const same[] = {
        "<a/>",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a x=\"1\">\n  <b>ä €</b>\n</a>",
        "<a><![CDATA[<x>&]]><!-- c --><?pi data?>&lt;&amp;</a>",
        "<p:a xmlns:p=\"urn:p\" p:x=\"1\"><p:b/></p:a>",
        "<a xml:space=\"preserve\">  </a>",
        "<!-- before -->\n<a/>\n<!-- behind -->",
    };
    for (const char* text : same) {
        EXPECT_EQ(XmlOf(DocumentOf(text)), text);
    }
    const IXMLDOMDocument2Ptr document = NewDocument();
    document->put_preserveWhiteSpace(VARIANT_FALSE);
    ASSERT_TRUE(LoadText(document, "<a> <b> x </b>\n<c xml:space='preserve'> <d> </d></c> </a>")
                    .successful);
    EXPECT_EQ(XmlOf(document), "<a><b> x </b><c xml:space=\"preserve\"> <d> </d></c></a>");
}

TEST(XmlDom, NodesTellWhatTheyAre) {
    const IXMLDOMDocument2Ptr document =
        DocumentOf("<p:a xmlns:p='urn:p' id='1' p:x='&lt;2'>t<b>ä<c>ö</c></b><!--n--></p:a>");
    const IXMLDOMElementPtr root = RootOf(document);
    EXPECT_EQ(NameOf(document), "#document");
    EXPECT_EQ(NameOf(root), "p:a");
    EXPECT_EQ(NodeTextOf(root), "täö");
    EXPECT_EQ(NameOf(Child(root, 0)), "#text");
    EXPECT_EQ(XmlOf(Child(root, 1)), "<b xmlns:p=\"urn:p\">ä<c>ö</c></b>");
    EXPECT_EQ(NameOf(Child(root, 2)), "#comment");
    EXPECT_FALSE(static_cast<bool>(Child(root, 3)));
    EXPECT_FALSE(static_cast<bool>(Child(root, -1)));
    EXPECT_EQ(NodeTextOf(Attribute(root, "p:x")), "<2");
    EXPECT_EQ(XmlOf(Attribute(root, "id")), "id=\"1\"");
    EXPECT_FALSE(static_cast<bool>(Attribute(root, "x")));
    IXMLDOMNamedNodeMapPtr attributes;
    EXPECT_EQ(Child(root, 0)->get_attributes(&attributes), S_FALSE);
    DOMNodeType type = NODE_INVALID;
    EXPECT_EQ(Attribute(root, "id")->get_nodeType(&type), S_OK);
    EXPECT_EQ(type, NODE_ATTRIBUTE);

    // The same node is the same object, up to the document.
    EXPECT_EQ(Child(document, 0).GetInterfacePtr(), root.GetInterfacePtr());
    IXMLDOMNodePtr parent;
    EXPECT_EQ(root->get_parentNode(&parent), S_OK);
    EXPECT_EQ(parent.GetInterfacePtr(), document.GetInterfacePtr());
    IXMLDOMNodePtr none;
    EXPECT_EQ(document->get_parentNode(&none), S_FALSE);
    IXMLDOMDocument2Ptr asDocument;
    EXPECT_EQ(parent.QueryInterface(asDocument), S_OK);
    EXPECT_EQ(root.QueryInterface(asDocument), E_NOINTERFACE);
}

TEST(XmlDom, NodesOutliveTheirDocument) {
    IXMLDOMNodePtr kept;
    {
        const IXMLDOMDocument2Ptr document = DocumentOf("<a><b>text</b></a>");
        kept = Child(RootOf(document), 0);
        ASSERT_TRUE(LoadText(document, "<other/>").successful);
        EXPECT_EQ(NameOf(RootOf(document)), "other");
        ASSERT_FALSE(LoadText(document, "<bad>").successful);
        EXPECT_EQ(XmlOf(document), "");
        // Nodes do not wander between documents.
        EXPECT_EQ(document->appendChild(kept, nullptr), E_INVALIDARG);
    }
    EXPECT_EQ(XmlOf(kept), "<b>text</b>");
    IXMLDOMNodePtr parent;
    EXPECT_EQ(kept->get_parentNode(&parent), S_OK);
    EXPECT_EQ(XmlOf(parent), "<a><b>text</b></a>");
}

TEST(XmlDom, AppendChildMoves) {
    const IXMLDOMDocument2Ptr document = DocumentOf("<a><b/><c><d/></c></a>");
    const IXMLDOMElementPtr root = RootOf(document);
    const IXMLDOMNodePtr b = Child(root, 0);
    const IXMLDOMNodePtr c = Child(root, 1);
    EXPECT_EQ(c->appendChild(b, nullptr), S_OK);
    EXPECT_EQ(XmlOf(document), "<a><c><d/><b/></c></a>");
    EXPECT_EQ(b->appendChild(c, nullptr), E_INVALIDARG);
    EXPECT_EQ(document->appendChild(b, nullptr), E_INVALIDARG);
    EXPECT_EQ(b->appendChild(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(XmlOf(document), "<a><c><d/><b/></c></a>");
}

TEST(XmlDom, PathsWithAnyCharacters) {
    const CXmlTestFolder folder;
    for (const char* name : {"a b.xml", "50%25.xml", "a#b?c.xml", "ä€😀.xml", "a+b&c.xml"}) {
        const std::string path = folder.Write(name, "<a/>");
        EXPECT_TRUE(Load(NewDocument(), path).successful) << name;
    }
    const std::string base = folder.Path("");
    for (const char* name : {"a%20b.xml", "50%2525.xml", "a%23b%3Fc.xml", "%C3%A4%e2%82%ac😀.xml"}) {
        for (const char* scheme : {"file://", "file://localhost", "file:", "FILE://"}) {
            EXPECT_TRUE(Load(NewDocument(), scheme + base + name).successful) << scheme << name;
        }
    }
}

TEST(XmlDom, StreamedDocumentsBuildTheirTreeOnDemand) {
    const CXmlTestFolder folder;
    const std::string xml =
        "<?xml version=\"1.0\"?>\n<Root updated=\"u\"><Items><Item any=\"ä\"/></Items></Root>";
    const std::string path = folder.Write("doc.xml", xml);
    const IXMLDOMDocument2Ptr document = ValidatingDocument(SmallSchema);
    ASSERT_TRUE(Load(document, path).successful);
    EXPECT_EQ(XmlOf(document), xml);
    ASSERT_TRUE(Load(document, path).successful);
    std::filesystem::remove(path);
    IXMLDOMElementPtr root;
    EXPECT_EQ(document->get_documentElement(&root), E_FAIL);
    EXPECT_NE(GetErrorDescription().length(), 0U);
}

TEST(XmlDom, SinkReceivesTheElements) {
    const CXmlTestFolder folder;
    const std::string path = folder.Write(
        "doc.xml",
        "<?xml version='1.0'?>\n<Root updated='u'\n  xmlns:q='urn:q'>\n<Items>\n"
        "<Item any=' a&#10;b&amp;\tc '\n n='x'/><q:Foo q:a='1'>t&lt;<![CDATA[<>]]></q:Foo>\n"
        "</Items></Root>");
    const std::string expected =
        "<Root updated='u'@2>\n<Items@4>\n<Item any=' a\nb& c ' n='x'@5></Item>"
        "<q:Foo q:a='1'@6>t<<></q:Foo>\n</Items></Root>";
    CRecordingSink plain;
    EXPECT_TRUE(LoadInto(NewDocument(), path, plain).successful);
    EXPECT_EQ(plain.log, expected);
    CRecordingSink validated;
    EXPECT_EQ(LoadInto(ValidatingDocument(SmallSchema), path, validated).total, 2);
    EXPECT_EQ(validated.log, expected);
    VARIANT_BOOL successful = VARIANT_FALSE;
    EXPECT_EQ(LoadAndReport(nullptr, _variant_t("x"), plain, &successful), E_INVALIDARG);
}

TEST(XmlDom, ThreadsValidateAgainstOneSchema) {
    const CXmlTestFolder folder;
    std::string xml = "<Root updated='u'><Items>";
    for (int item = 0; item < 500; ++item) {
        xml += "<Item id='abc' kind='A' n='1' list='1 2'/><Item n='x' id='q' other='1'/>";
    }
    const std::string path = folder.Write("doc.xml", xml + "</Items></Root>");
    const IXMLDOMSchemaCollection2Ptr schemas = SchemasOf(SmallSchema);
    std::vector<std::thread> threads;
    std::vector<long> totals(20);
    for (std::size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t round = 0; round < 5; ++round) {
                // Half of them share the collection, half compile the same text again.
                const IXMLDOMDocument2Ptr document = round % 2 == 0
                                                         ? ValidatingDocument(schemas, true)
                                                         : ValidatingDocument(SmallSchema);
                totals[thread * 5 + round] = Load(document, path).total;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(totals, std::vector<long>(20, 1500));
}

TEST(XmlDom, UnknownClassesAndInterfaces) {
    void* object = this;
    EXPECT_EQ(CoCreateInstance(IXMLDOMNode::IID_, IXMLDOMNode::IID_, &object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, IXMLDOMElement::IID_, &object), E_NOINTERFACE);
    EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, IXMLDOMElement::IID_, nullptr), E_POINTER);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
