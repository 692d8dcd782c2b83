// SPDX-License-Identifier: Apache-2.0
#include "export_fixture.h"

#include <cctype>
#include <filesystem>
#include <regex>

namespace Nax::FrontEnd::XMLDB::Testing {

namespace {

constexpr char kHostile[] =
    "</script><img src=x onerror=alert(1)>\"\\'&\n\t"
    "ReplacementHolder.FilterAllRules replacementholder.creationdate "
    "\xE2\x80\xA8\xE2\x80\xAE\xF0\x9F\x98\x80</noscript>";

class ReportFilesTest : public CExportTest {
protected:
    std::string Page() const { return ReadAll(m_output + "/ValidationResults.htm"); }

    /// What stands before the placeholder on its line of the built-in page.
    static std::string VariableOf(std::string name) {
        for (char& character : name) {
            character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        }
        const std::string page = ReadAll(RESOURCES_FOLDER "/report_page.htm");
        const std::size_t at = page.find("\"replacementholder." + name + "\"");
        EXPECT_NE(at, std::string::npos) << name;
        const std::size_t line = page.rfind('\n', at) + 1;
        return page.substr(line, at - line);
    }

    std::shared_ptr<CDBProcessor> NewHostileResults() {
        auto processor = NewResults();
        AddRule(*processor, "1", kHostile);
        AddRule(*processor, "2", "quiet");
        AddFile(*processor, "1", kHostile);
        AddFile(*processor, "2", "good.xml");
        AddResult(*processor, "1", "0", "1", "u", kHostile);
        AddResult(*processor, "1", "0", "1", "v", "second");
        AddResult(*processor, "2", "1", "", nullptr);
        return processor;
    }

    static std::size_t Count(const std::string& text, const std::string& part) {
        std::size_t count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos;
             at = text.find(part, at + part.size())) {
            ++count;
        }
        return count;
    }
};

} // namespace

TEST_F(ReportFilesTest, GivesTheScriptWhatTheDatabaseHolds) {
    const auto processor = NewHostileResults();
    CRulesProcessor rules(processor, _bstr_t());
    ASSERT_TRUE(rules.PostProcess("", m_output.c_str(), 1, 0, 0, ""));
    const std::string page = Page();
    ASSERT_EQ(Count(page, "<img"), Count(ReadAll(RESOURCES_FOLDER "/report_page.htm"), "<img"));
    EXPECT_EQ(Count(page, "</script>"),
              Count(ReadAll(RESOURCES_FOLDER "/report_page.htm"), "</script>"));

    // The files of the other mode hold the same texts, and the page stays as it is.
    ASSERT_TRUE(rules.ExecuteExport(m_output.c_str(), 0, 0, 0, ""));
    EXPECT_EQ(Page(), page);
    for (const char* name :
         {"FilterAllRules", "FilterAllFiles", "RulesDependingOnFile", "EllipseResult"}) {
        const std::string json = ReadAll(m_output + "/" + name + ".json");
        EXPECT_EQ(ScriptValue(*processor, page, VariableOf(name)), json);
        EXPECT_EQ(Query(*processor, "SELECT json_valid(" + Quoted(json) + ")"), Rows{"1"});
    }

    const std::string files = Quoted(ReadAll(m_output + "/FilterAllFiles.json"));
    EXPECT_EQ(Query(*processor,
                    "SELECT json_extract(value, '$.Status'), "
                    "json_extract(value, '$.Name') FROM json_each(" +
                        files + ") ORDER BY 1"),
              (Rows{std::string("Failed|") + kHostile, "Success|good.xml"}));
    const std::string results = Quoted(ReadAll(m_output + "/RulesDependingOnFile.json"));
    EXPECT_EQ(
        Query(*processor,
              "SELECT json_extract(value, '$.Status'), json_extract(value, '$.Result') FROM "
              "json_each(" +
                  results + ") WHERE json_extract(value, '$.FileName') = " + Quoted(kHostile)),
        Query(*processor,
              "SELECT 'Failed', ResultDescription FROM ValidationResults "
              "WHERE file_id = '1' ORDER BY pk"));
    EXPECT_EQ(ReadAll(m_output + "/EllipseResult.json"), R"([{"Result":"ERROR"}])");
}

TEST_F(ReportFilesTest, WritesStampSummaryAndCompanions) {
    const auto processor = NewHostileResults();
    CRulesProcessor rules(processor, _bstr_t());
    ASSERT_TRUE(rules.PostProcess("", m_output.c_str(), 1, 0, 0, ""));
    const std::string page = Page();
    EXPECT_TRUE(std::regex_search(page, std::regex(R"(>\d{4}-\d\d-\d\d</)")));
    EXPECT_TRUE(std::regex_search(page, std::regex(R"(>\d\d:\d\d:\d\d</)")));
    const std::string name = TextProcessor().EscapeXml(kHostile);
    for (const std::string& expected :
         {std::string("<p>Result: <strong>ERROR</strong></p>"),
          "<tr><td>Error</td><td>" + name + "</td><td>2</td></tr>",
          std::string("<tr><td>Success</td><td>quiet</td><td>1</td></tr>"),
          std::string("<tr><td>Success</td><td>good.xml</td><td>0</td></tr>")}) {
        EXPECT_NE(page.find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(Count(page, "<caption>Files</caption>"), 1U);
    const std::pair<const char*, const char*> companions[] = {
        {"NAXUILandscape_Validator_style.css", "report_style.css"},
        {"NAX-icons.woff", "NAX-icons.woff"},
        {"naxlogo_nax_quelin_10.png", "naxlogo_nax_quelin_10.png"},
    };
    for (const auto& [file, resource] : companions) {
        EXPECT_EQ(ReadAll(m_output + "/" + file),
                  ReadAll(std::string(RESOURCES_FOLDER "/") + resource))
            << file;
    }
}

TEST_F(ReportFilesTest, KeepsOneReportUntilANewOneIsStarted) {
    const auto processor = NewHostileResults();
    CRulesProcessor rules(processor, _bstr_t());
    ASSERT_TRUE(rules.PostProcess("", m_output.c_str(), 1, 0, 0, ""));
    const std::string page = Page();

    const std::string other = m_folder.File("other");
    ASSERT_TRUE(processor->DB_ExecuteQuery("DELETE FROM ValidationResults WHERE RuleId = '1'"));
    EXPECT_TRUE(rules.ExecuteExport(other.c_str(), 1, 0, 0, ""));
    EXPECT_EQ(Page(), page);
    EXPECT_FALSE(std::filesystem::exists(other + "/ValidationResults.htm"));

    CRulesProcessor::StartNewReport();
    EXPECT_TRUE(rules.ExecuteExport(other.c_str(), 1, 0, 0, ""));
    const std::string fresh = ReadAll(other + "/ValidationResults.htm");
    EXPECT_EQ(ScriptValue(*processor, fresh, VariableOf("EllipseResult")),
              R"([{"Result":"SUCCESS"}])");
    EXPECT_NE(fresh.find("<p>Result: <strong>SUCCESS</strong></p>"), std::string::npos);
    EXPECT_EQ(Page(), page);
}

TEST_F(ReportFilesTest, TakesPageAndStyleSheetFromTheOutputFolder) {
    const auto processor = NewResults(false);
    std::filesystem::create_directories(m_output);
    m_folder.Write("out/report/ValidationResults.htm",
                   "<p>ReplacementHolder.CreationDate|replacementholder.noscriptsummary|"
                   "replacementholder.unknown|replacementholder.creationtime</p>\n"
                   "x = \"REPLACEMENTHOLDER.one\"\ny = \"replacementholder.broken\"\n");
    m_folder.Write("out/report/NAXUILandscape_Validator_style.css", "p { color: red }");
    const auto rules = NewExport(processor, {{"Broken", "SELECT nothing", "broken.json"},
                                             {"One", "SELECT '<' AS a", "one.json"}});
    rules->ExecuteExport(m_output.c_str(), 1, 0, 0, "");
    const std::string page = Page();
    EXPECT_TRUE(std::regex_search(
        page,
        std::regex(R"(^<p>\d{4}-\d\d-\d\d\|\|replacementholder\.unknown\|\d\d:\d\d:\d\d</p>)")))
        << page;
    EXPECT_EQ(ScriptValue(*processor, page, "x = "), R"([{"a":"<"}])");
    // An export that failed leaves its place to a later one.
    EXPECT_NE(page.find("y = \"replacementholder.broken\""), std::string::npos);
    EXPECT_EQ(ReadAll(m_output + "/NAXUILandscape_Validator_style.css"), "p { color: red }");
    EXPECT_FALSE(std::filesystem::exists(m_output + "/one.json"));
}

TEST_F(ReportFilesTest, ReportsWhatCannotBeWritten) {
    const auto processor = NewHostileResults();
    CRulesProcessor rules(processor, _bstr_t());
    // A file stands where the folder should be.
    m_folder.Write("out", "mine");
    EXPECT_FALSE(rules.PostProcess("", m_output.c_str(), 1, 0, 0, ""));
    EXPECT_EQ(ReadAll(m_folder.File("out")), "mine");
    EXPECT_FALSE(rules.ExecuteExport(m_output.c_str(), 0, 0, 0, ""));
    // The results are still there, and the next export brings everything.
    std::filesystem::remove(m_folder.File("out"));
    EXPECT_TRUE(rules.ExecuteExport(m_output.c_str(), 1, 0, 0, ""));
    EXPECT_EQ(ScriptValue(*processor, Page(), VariableOf("EllipseResult")),
              R"([{"Result":"ERROR"}])");
    EXPECT_TRUE(std::filesystem::exists(m_output + "/NAX-icons.woff"));
    EXPECT_TRUE(std::filesystem::exists(m_output + "/NAXUILandscape_Validator_style.css"));
}

} // namespace Nax::FrontEnd::XMLDB::Testing
