// SPDX-License-Identifier: Apache-2.0
#include "rules/report_page.h"

#include "export_fixture.h"

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

using PageSummaryTest = CExportTest;

TEST_F(PageSummaryTest, UsesTheWordsAndTheOrderOfThePage) {
    const auto processor = NewResults();
    AddFile(*processor, "1", "a.xml");
    const char* const codes[] = {"1", "6", "0", "2"};
    for (const char* const code : codes) {
        AddRule(*processor, code, std::string("rule ") + code);
        AddResult(*processor, code, code, "1", "u", "text");
    }
    CRulesProcessor rules(processor, _bstr_t());
    ASSERT_TRUE(rules.PostProcess("", m_output.c_str(), 1, 0, 0, ""));
    const std::string page = ReadAll(m_output + "/ValidationResults.htm");
    EXPECT_NE(page.find("<div class=\"result-error\"><p>Result: <strong>ERROR</strong></p></div>"),
              std::string::npos);
    EXPECT_NE(page.find("<tr><td>Error</td><td>rule 0</td><td>1</td></tr>\n"
                        "<tr><td>Warning</td><td>rule 2</td><td>1</td></tr>\n"
                        "<tr><td>Info</td><td>rule 6</td><td>1</td></tr>\n"
                        "<tr><td>Success</td><td>rule 1</td><td>1</td></tr>\n"),
              std::string::npos)
        << page.substr(page.find("<caption>Rules"), 600);
}

} // namespace Nax::FrontEnd::XMLDB::Testing
