// SPDX-License-Identifier: Apache-2.0
#include "xml_test_schema.h"
#include "xml_test_support.h"

#include <gtest/gtest.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

SXmlTestFault OnlyFault(const SXmlTestOutcome& outcome) {
    EXPECT_EQ(outcome.total, 1);
    return outcome.faults.empty() ? SXmlTestFault{} : outcome.faults[0];
}

std::string Utf16(std::string_view ascii, bool bigEndian, bool mark) {
    std::string text = mark ? (bigEndian ? "\xFE\xFF" : "\xFF\xFE") : "";
    for (const char character : ascii) {
        text += bigEndian ? '\0' : character;
        text += bigEndian ? character : '\0';
    }
    return text;
}

TEST(XmlFaultPlaces, PointAtTheAttributeOrTheElement) {
    struct SCase {
        std::string document;
        long line;
        long position;
        std::string source;
    };
    const std::string open = "<Root updated='u'>\n<Items>\n";
    const std::string close = "</Items>\n</Root>\n";
    const SCase cases[] = {
        {open + "<Item n='1'\n      any='n=2'\n      short = '2345'\n/>\n" + close, 5, 7,
         "      short = '2345'"},
        {open + "<Item any='&gt; n=\"x\"' n='x'/>\n" + close, 3, 24,
         "<Item any='&gt; n=\"x\"' n='x'/>"},
        {open + "  <Item n='1'/><Foo\na='1'/>\n" + close, 3, 16, "  <Item n='1'/><Foo"},
        {"<Root>\n</Root>", 1, 1, "<Root>"},
        {open + "<Item><Memo>äöü</Memo><Item n='ü'/></Item>\r\n" + close, 3, 29,
         "<Item><Memo>äöü</Memo><Item n='ü'/></Item>"},
        {"<Root updated='u'>\n<Items>\n<Item/>\n  stray\n</Items></Root>", 4, 3, "  stray"},
        {"<Root updated='u'>\n<Items>\n ströy\n\n<Item/>\n</Items></Root>", 3, 2, " ströy"},
        {"<Root updated='u'>\n<Items>\r\n<![CDATA[ä\r\n\r\n]]>\n</Items></Root>", 3, 10,
         "<![CDATA[ä"},
        {"<Root updated='u'>\n<Items>\nx" + std::string(5000, '\n') + "ä\n</Items></Root>", 3, 1,
         "x"},
        {"<Root updated='u'>\n<Items>\n<![CDATA[\nx" + std::string(5000, '\n') +
             "]]></Items></Root>",
         4, 1, "x"},
        {"<Root updated='u'>\n<Pair>\n<Item/>\n</Pair>\n</Root>", 2, 1, "<Pair>"},
        {"<!DOCTYPE Root [<!ENTITY e \"<Item n='x'/>\">]>\n<Root updated='u'><Items>\n&e;</Items>"
         "</Root>",
         3, 4, "&e;</Items></Root>"},
        {"<Root updated='u'>\n<Items>\n</Item>\n</Root>", 3, 8, "</Item>"},
        {"<Root updated='u'>\n<Items>\n\n", 2, 8, "<Items>"},
        {"<Root updated='u'>\n<Items>ä\n\n ]]></Items></Root>", 4, 2, " ]]></Items></Root>"},
        {"<Root updated='u'>\n<Item a=1/></Root>", 2, 9, "<Item a=1/></Root>"},
    };
    const IXMLDOMDocument2Ptr document = ValidatingDocument(SmallSchema);
    const CXmlTestFolder folder;
    for (const SCase& row : cases) {
        for (const bool fromFile : {false, true}) {
            const SXmlTestFault fault =
                OnlyFault(fromFile ? Load(document, folder.Write("case.xml", row.document))
                                   : LoadText(document, row.document));
            EXPECT_EQ(fault.line, row.line) << row.document << fault.reason;
            EXPECT_EQ(fault.position, row.position) << row.document << fault.reason;
            EXPECT_EQ(fault.source, row.source) << row.document << fault.reason;
        }
    }
}

TEST(XmlFaultPlaces, EveryStrayTextHasItsOwnLine) {
    const SXmlTestOutcome outcome =
        LoadText(ValidatingDocument(SmallSchema),
                 "<Root updated='u'>\n<Items>\none &amp; <![CDATA[one]]> &#49;\n<Item/>\ntwo" +
                     std::string(1000, '\n') +
                     "zwölf\n<!-- c -->\nthree<?p?>\nfour</Items><Pair><Item/><Empty>\nä &amp; "
                     "b</Empty></Pair></Root>");
    std::vector<long> lines;
    for (const SXmlTestFault& fault : outcome.faults) {
        lines.push_back(fault.line);
    }
    EXPECT_EQ(lines, (std::vector<long>{3, 5, 1007, 1008, 1008}));
}

TEST(XmlFaultPlaces, LinesPast65535) {
    std::string xml = "<Root updated='u'><Items>";
    for (int line = 1; line < 150000; ++line) {
        xml += "<Item any='text that makes the line longer'/>\n";
        if (line % 50000 == 49999) {
            xml += "<Item n='x' any='" + std::to_string(line + 1) + "'/>";
        }
    }
    xml += "</Items></Root>";
    const CXmlTestFolder folder;
    const SXmlTestOutcome outcome =
        Load(ValidatingDocument(SmallSchema), folder.Write("long.xml", xml));
    ASSERT_EQ(outcome.total, 3);
    for (const SXmlTestFault& fault : outcome.faults) {
        const std::string line = "any='" + std::to_string(fault.line) + "'";
        EXPECT_NE(fault.source.find(line), std::string::npos) << fault.line << fault.source;
        EXPECT_EQ(fault.position, 7);
    }
    // The same for what is not well-formed.
    xml.insert(xml.rfind("</Items>"), "<");
    const SXmlTestFault broken =
        OnlyFault(Load(ValidatingDocument(SmallSchema), folder.Write("broken.xml", xml)));
    EXPECT_EQ(broken.line, 150000);
    xml.insert(xml.rfind("<Item any"), "&");
    const SXmlTestFault plain = OnlyFault(Load(NewDocument(), folder.Write("plain.xml", xml)));
    EXPECT_EQ(plain.line, 149999);
}

TEST(XmlFaultPlaces, SourceIsCutAround500CharactersOfOneLongLine) {
    std::string xml = "<Root updated='u'><Items>";
    std::vector<std::size_t> characters;
    for (int item = 0; item < 1200; ++item) {
        xml += "<Item any='ääääääääää€€€€€€€€€€😀😀😀😀😀😀😀😀😀😀" + std::string(50, 'x') + "'/>";
        if (item == 0 || item == 600 || item == 1199) {
            xml += "<Item n='here" + std::to_string(item) + "'/>";
        }
    }
    xml += "</Items></Root>";
    const CXmlTestFolder folder;
    const SXmlTestOutcome outcome =
        Load(ValidatingDocument(SmallSchema), folder.Write("long.xml", xml));
    ASSERT_EQ(outcome.total, 3);
    const long positions[] = {126, 56543, 112868};
    for (std::size_t at = 0; at < 3; ++at) {
        const SXmlTestFault& fault = outcome.faults[at];
        EXPECT_EQ(fault.line, 1);
        EXPECT_EQ(fault.source.find('?'), std::string::npos);
        const std::string wide = fault.source;
        std::size_t count = 0;
        for (const char byte : wide) {
            count += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U ? 1U : 0U;
        }
        EXPECT_EQ(count, 500U);
        EXPECT_NE(wide.find("n='here"), std::string::npos);
        EXPECT_EQ(wide.find("\xEF\xBF\xBD"), std::string::npos) << wide;
        EXPECT_EQ(fault.position, positions[at]);
    }
}

TEST(XmlFaultPlaces, HoldInEveryEncoding) {
    const std::string body =
        "<Root updated='u'>\n<Items>\n<Item n='1'/><Item n='x'/>\n"
        "</Items></Root>";
    struct SCase {
        const char* what;
        std::string bytes;
        std::string source;
    };
    const SCase cases[] = {
        {"mark", "\xEF\xBB\xBF" + body, "<Item n='1'/><Item n='x'/>"},
        {"mark and another declaration",
         "\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?>" + body,
         "<Item n='1'/><Item n='x'/>"},
        {"UTF-16LE", Utf16(body, false, true), "<Item n='1'/><Item n='x'/>"},
        {"UTF-16BE", Utf16("<?xml version='1.0' encoding='UTF-16'?>" + body, true, true),
         "<Item n='1'/><Item n='x'/>"},
        {"UTF-16LE without mark", Utf16(body, false, false), "<Item n='1'/><Item n='x'/>"},
        {"ISO-8859-1",
         "<?xml version='1.0' encoding='ISO-8859-1'?><Root updated='u'>\n\n"
         "<Items><Item n='\xE4\xF6'/></Items></Root>",
         "<Items><Item n='äö'/></Items></Root>"},
        {"windows-1252",
         "<?xml version='1.0' encoding='windows-1252'?><Root updated='u'>\n\n"
         "<Items><Item n='\x80'/></Items></Root>",
         "<Items><Item n='€'/></Items></Root>"},
    };
    const CXmlTestFolder folder;
    for (const SCase& row : cases) {
        const SXmlTestFault fault = OnlyFault(
            Load(ValidatingDocument(SmallSchema), folder.Write("encoded.xml", row.bytes)));
        EXPECT_EQ(fault.line, 3) << row.what << fault.reason;
        EXPECT_EQ(fault.source, row.source) << row.what;
        EXPECT_NE(fault.reason.find("is not an integer"), std::string::npos) << row.what;
    }
}

TEST(XmlFaultPlaces, TheBytesMustBeInTheDeclaredEncoding) {
    const auto declaring = [](const std::string& encoding) {
        return "<?xml version='1.0' encoding='" + encoding + "'?><a/>";
    };
    const std::string mark = "\xEF\xBB\xBF";
    const std::pair<std::string, const char*> cases[] = {
        {declaring("UTF-16"), "labelled UTF-16 but has UTF-8 content"},
        {declaring("UCS-4"), "labelled UCS-4 but has UTF-8 content"},
        {declaring("no-such"), "Unsupported encoding no-such"},
        {mark + declaring("no-such"), "Unsupported encoding no-such"},
        {mark + declaring("UTF-16"), "labelled UTF-16 but has UTF-8 content"},
        {Utf16(declaring("UTF-06"), false, true), "Unsupported encoding UTF-06"},
        {Utf16(declaring("UTF-8"), true, true), "labelled UTF-8 but has UTF-16BE content"},
        {Utf16(declaring("ISO-8859-1"), false, false), "labelled ISO-8859-1 but has UTF-16LE"},
        {Utf16(declaring("utf-16be"), false, true), "labelled utf-16be but has UTF-16LE"},
        {Utf16(declaring(std::string(600, ' ') + "no-such"), false, true), "longer than 511"},
        {Utf16(declaring("UTF-16//IGNORE"), false, true), "not closed"},
        {"<a>\xFF</a>", "UTF-8"},
        {std::string("\xFF\xFE<\0a\0>\0\x00\xDC<\0/\0a\0>\0", 18), "UTF-8"},
    };
    const CXmlTestFolder folder;
    for (const auto& [bytes, reason] : cases) {
        const SXmlTestFault fault = OnlyFault(Load(NewDocument(), folder.Write("bad.xml", bytes)));
        EXPECT_NE(fault.reason.find(reason), std::string::npos) << reason << " : " << fault.reason;
    }
    for (const std::string& bytes :
         {declaring("US-ASCII"), mark + declaring("ISO-8859-1"),
          Utf16(declaring("utf-16"), true, true), Utf16(declaring("ISO-10646-UCS-2"), true, false),
          Utf16(declaring("UTF-16LE"), false, true)}) {
        EXPECT_EQ(Load(NewDocument(), folder.Write("good.xml", bytes)).total, 0) << bytes;
    }
}

TEST(XmlFaultPlaces, WideTextIgnoresTheDeclaredEncoding) {
    for (const char* encoding : {"utf-16", "ISO-8859-1", "UTF-8", "no-such-encoding"}) {
        const std::string declaration =
            "<?xml version=\"1.0\" encoding=\"" + std::string(encoding) + "\"?>";
        EXPECT_EQ(NodeTextOf(DocumentOf(declaration + "<a>ä€😀</a>")), "ä€😀") << encoding;
        const SXmlTestOutcome outcome =
            LoadText(ValidatingDocument(SmallSchema), declaration + "<Root updated='ä b'/>");
        ASSERT_EQ(outcome.total, 1);
        EXPECT_EQ(outcome.faults[0].source, declaration + "<Root updated='ä b'/>");
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
