// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <naxfewxmldb/text_processor.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

TEST(TextProcessor, SplitsIntoOneMoreThanThereAreSeparators) {
    using Pieces = std::vector<std::string>;
    const struct {
        const char* text;
        Pieces pieces;
    } cases[] = {{"", {""}}, {"a", {"a"}}, {";", {"", ""}}, {"a;;b;", {"a", "", "b", ""}}};
    for (const auto& item : cases) {
        EXPECT_EQ(item.pieces, TextProcessor().Split(item.text, ';')) << item.text;
    }
}

TEST(TextProcessor, ReplacesPairByPairInOnePassEach) {
    const struct {
        const char* text;
        TextProcessor::Replacements pairs;
        const char* result;
    } cases[] = {
        {"abc", {}, "abc"},
        {"aXbX", {{"X", ""}}, "ab"},
        {"\n\n\n\n\n", {{"\n\n", "\n"}}, "\n\n\n"},
        {"a", {{"a", "aa"}}, "aa"},
        {"a", {{"a", "b"}, {"b", "c"}}, "c"},
        {"b", {{"a", "b"}, {"b", "a"}}, "a"},
        {"abc", {{"", "x"}}, "abc"},
        {"index transaction indexes",
         {{"transaction", "trans"}, {"index", "indx"}},
         "indx trans indxes"},
    };
    const TextProcessor processor;
    for (const auto& item : cases) {
        EXPECT_EQ(item.result, processor.ReplaceAll(item.text, item.pairs)) << item.text;
    }
    EXPECT_EQ("1b2", processor.ReplaceAll("abc", {"a", "c", "b"}, {"1", "2"}));
    EXPECT_EQ("''it''''s", processor.EscapeSql("'it''s"));
}

TEST(TextProcessor, EscapesEachXmlCharacterOnce) {
    EXPECT_EQ("&lt;a b=&quot;&apos;&amp;amp;&quot;&gt;&#x0A;&#x0D;&#x09;ä",
              TextProcessor().EscapeXml("<a b=\"'&amp;\">\n\r\tä"));
}

TEST(TextProcessor, TrimsBlanksAndWhiteSpace) {
    const TextProcessor processor;
    EXPECT_EQ("a \n", processor.TrimLeft(" \n\t\ra \n"));
    EXPECT_EQ(" a", processor.TrimRight(" a\r\n\t "));
    EXPECT_EQ("", processor.TrimLeft(" \n"));
    EXPECT_EQ("", processor.TrimRight(" \n"));
    EXPECT_EQ("\va\v", processor.TrimLeft("\va\v"));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
