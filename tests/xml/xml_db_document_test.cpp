// SPDX-License-Identifier: Apache-2.0
#include "scratch.h"

#include <gtest/gtest.h>
#include <naxfewxmldb/xml_document.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

std::string XmlOf(CXmlDbDocument& document) {
    _bstr_t xml;
    EXPECT_EQ(S_OK, document.GetDocument()->get_xml(xml.GetAddress()));
    const char* text = xml;
    return text == nullptr ? "" : text;
}

/// The error text as made from the document's own parse error.
std::string ErrorTextOf(CXmlDbDocument& document) {
    IXMLDOMParseErrorPtr error;
    EXPECT_EQ(S_OK, document.GetDocument()->get_parseError(&error));
    long code = 0;
    _bstr_t reason;
    EXPECT_EQ(S_OK, error->get_errorCode(&code));
    EXPECT_EQ(S_OK, error->get_reason(reason.GetAddress()));
    EXPECT_NE(0, code);
    EXPECT_NE(0U, reason.length());
    return "CXmlDbDocument::LoadXML failed. Error: " + std::to_string(code) + ",\n" +
           static_cast<const char*>(reason) + "\n";
}

TEST(CXmlDbDocument, NewDocumentHoldsADeclarationAndIsNotLoaded) {
    CXmlDbDocument document;
    EXPECT_FALSE(document.GetLoadState());
    EXPECT_EQ("", document.GetLastErrorText());
    EXPECT_EQ(0U, XmlOf(document).find("<?xml version='1.0' encoding='UTF-8'?>"))
        << XmlOf(document);
    document.SetLoadState(true);
    EXPECT_TRUE(document.GetLoadState());
}

TEST(CXmlDbDocument, RemembersTheLastLoadAndTheLastFailure) {
    const CScratchFolder folder;
    const std::string good = folder.Write("good.xml", "<a>\n  <b/>\n</a>");
    const std::string broken = folder.Write("broken.xml", "<a><b></a>");
    const std::string missing = folder.File("missing.xml");
    for (const bool fromText : {true, false}) {
        CXmlDbDocument document;
        EXPECT_TRUE(fromText ? document.LoadXML("<a>\n  <b/>\n</a>") : document.Load(good.c_str()));
        EXPECT_TRUE(document.GetLoadState());
        EXPECT_EQ("", document.GetLastErrorText());
        EXPECT_NE(std::string::npos, XmlOf(document).find("<a>\n  <b/>\n</a>")) << "white space";

        EXPECT_FALSE(fromText ? document.LoadXML("<a><b></a>") : document.Load(broken.c_str()));
        EXPECT_FALSE(document.GetLoadState());
        const std::string failure = document.GetLastErrorText();
        EXPECT_EQ(ErrorTextOf(document), failure);
        IXMLDOMElementPtr root;
        EXPECT_EQ(S_FALSE, document.GetDocument()->get_documentElement(&root))
            << "nothing of the failed load or of the one before stays";

        EXPECT_TRUE(document.LoadXML("<c/>"));
        EXPECT_EQ(failure, document.GetLastErrorText()) << "a success leaves it in place";
        EXPECT_FALSE(fromText ? document.LoadXML("") : document.Load(missing.c_str()));
        EXPECT_NE(failure, document.GetLastErrorText());
        EXPECT_EQ(ErrorTextOf(document), document.GetLastErrorText());
    }
}

TEST(CXmlDbDocument, SetDocumentSharesAndCounts) {
    CXmlDbDocument owner;
    ASSERT_TRUE(owner.LoadXML("<a/>"));
    IXMLDOMDocument2Ptr dom = owner.GetDocument();
    const auto count = [&dom] {
        dom->AddRef();
        return dom->Release();
    };
    const ULONG before = count();
    owner.SetDocument(dom);
    EXPECT_EQ(before, count()) << "the same again";
    {
        CXSDDocument other;
        other.SetDocument(dom);
        EXPECT_EQ(before + 1, count());
        EXPECT_EQ(dom.GetInterfacePtr(), other.GetDocument().GetInterfacePtr());
        EXPECT_EQ(before + 1, count());
        other.SetDocument(nullptr);
        EXPECT_EQ(before, count());
        EXPECT_FALSE(other.GetDocument());
        EXPECT_FALSE(other.LoadXML("<a/>")) << "without a document every load fails";
        EXPECT_FALSE(other.Load("a.xml"));
        EXPECT_FALSE(other.GetLoadState());
        other.SetDocument(dom);
    }
    EXPECT_EQ(before, count()) << "released by the destructor";
}

TEST(CXmlDbDocument, ErrorIsAlwaysFalse) {
    CXmlDbDocument document;
    EXPECT_FALSE(document.Error("block", "message"));
}

TEST(CXmlDbDocument, LoadsItsResourcesByIdAndKind) {
    for (const int id : {101, 106, 112}) {
        const std::string text = CXmlDbDocument::LoadInternalResource(id, nullptr);
        EXPECT_EQ(0U, text.find("<?xml version=\"1.0\" encoding=")) << id;
        CXmlDbDocument document;
        EXPECT_TRUE(document.LoadXML(text)) << document.GetLastErrorText();
        unsigned long size = 5;
        EXPECT_EQ("", CXmlDbDocument::LoadInternalResource(id, &size)) << "no binary one: " << id;
        EXPECT_EQ(0U, size);
    }
    EXPECT_EQ("", CXmlDbDocument::LoadInternalResource(999, nullptr));
    EXPECT_EQ("", CXmlDbDocument::LoadInternalResource(0, nullptr));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
