// SPDX-License-Identifier: Apache-2.0
#include "rules/report_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB::Testing {

namespace {

struct SPageCase {
    const char* name;
    const char* page;
    std::vector<std::pair<std::string, std::string>> values;
    const char* expected;
};

} // namespace

TEST(ReportPageTest, ReplacesPlaceholdersOfTheTemplateOnly) {
    const SPageCase cases[] = {
        {"any case", "<ReplacementHolder.One> <REPLACEMENTHOLDER.ONE>", {{"one", "1"}}, "<1> <1>"},
        {"whole names",
         "replacementholder.Rule2 replacementholder.rule_ replacementholder.rule.",
         {{"Rule", "x"}},
         "replacementholder.Rule2 replacementholder.rule_ x."},
        {"unknown ones stay",
         "a replacementholder.other b",
         {{"one", "1"}},
         "a replacementholder.other b"},
        {"at both ends",
         "replacementholder.one-replacementholder.two",
         {{"two", ""}, {"one", "1"}},
         "1-"},
        {"values are not searched",
         "replacementholder.one|replacementholder.two",
         {{"one", "ReplacementHolder.two"}, {"two", "ReplacementHolder.one"}, {"one", "again"}},
         "ReplacementHolder.two|ReplacementHolder.one"},
        {"nothing grows together",
         "replacementholder.replacementholder.oneone",
         {{"one", "x"}},
         "replacementholder.replacementholder.oneone"},
        {"no template", "", {{"one", "1"}}, ""},
    };
    for (const SPageCase& row : cases) {
        CReportPage page{std::string(row.page)};
        for (const auto& [name, value] : row.values) {
            page.Fill(name, value);
        }
        EXPECT_EQ(page.Render(), row.expected) << row.name;
    }
}

TEST(ReportPageTest, TellsWhetherThereWasAPlaceholder) {
    CReportPage page(std::string("replacementholder.one"));
    EXPECT_FALSE(page.Fill("two", "2"));
    EXPECT_TRUE(page.Fill("one", "1"));
    EXPECT_FALSE(page.Fill("one", "1"));
}

TEST(ReportPageTest, EscapesForScripts) {
    const std::pair<std::string, std::string> cases[] = {
        {"plain Größe 日本", "plain Größe 日本"},
        {R"([{"a":"b\"c"}])", R"([{\"a\":\"b\\\"c\"}])"},
        {"</script><!--&amp;", "\\u003C/script\\u003E\\u003C!--\\u0026amp;"},
        {std::string("\0\n\r\t\x1f\x7f", 6), "\\u0000\\u000A\\u000D\\u0009\\u001F\\u007F"},
        {"\xE2\x80\xA8|\xE2\x80\xA9|\xE2\x80\xAA", "\\u2028|\\u2029|\xE2\x80\xAA"},
        // Text that was cut inside a character.
        {"\xE2\x80", "\xE2\x80"},
        {"'", "'"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(EscapeForScript(text), expected);
    }
}

} // namespace Nax::FrontEnd::XMLDB::Testing
