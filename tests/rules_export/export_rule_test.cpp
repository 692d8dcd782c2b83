// SPDX-License-Identifier: Apache-2.0
#include "export_fixture.h"

#include "rules/export_rule.h"
#include "rules/json_exporter.h"

#include <filesystem>
#include <map>

namespace Nax::FrontEnd::XMLDB::Testing {

namespace {

struct SBodyCase {
    const char* name;
    const char* body;
    const char* output;
    bool result;
    std::map<std::string, std::string> files;
};

std::map<std::string, std::string> FilesIn(const std::string& folder) {
    std::map<std::string, std::string> files;
    if (std::filesystem::exists(folder)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            files[entry.path().filename().string()] = ReadAll(entry.path().string());
        }
    }
    return files;
}

class ExportRuleTest : public CExportTest {};

} // namespace

TEST_F(ExportRuleTest, WritesOneFilePerStatement) {
    const SBodyCase cases[] = {
        {"values",
         "SELECT 1 AS i, 2.5 AS r, NULL AS n, 'it''s \"q\" \\ ü' AS t",
         "a.json",
         true,
         {{"a.json", R"([{"i":1,"r":2.5,"n":null,"t":"it's \"q\" \\ ü"}])"}}},
        {"no rows", "SELECT 1 AS a WHERE 0", "a.json", true, {{"a.json", "[]"}}},
        {"trailing separator", "SELECT 1 AS a; \n", "a.json", true, {{"a.json", R"([{"a":1}])"}}},
        {"two statements",
         "SELECT 1 AS a;SELECT 2 AS b;",
         "a.b.json",
         true,
         {{"a_0.b.json", R"([{"a":1}])"}, {"a_1.b.json", R"([{"b":2}])"}}},
        {"the last one counts",
         "SELECT 1 AS a;SELECT x",
         "a.json",
         false,
         {{"a_0.json", R"([{"a":1}])"}}},
        {"a failure stops nothing",
         "SELECT x;SELECT 1 AS a",
         "a.json",
         true,
         {{"a_1.json", R"([{"a":1}])"}}},
        {"no dot", "SELECT 1 AS a", "plain", true, {{"plain", R"([{"a":1}])"}}},
        {"no dot, two statements",
         "SELECT 1 AS a;SELECT 2 AS a",
         "plain",
         true,
         {{"plain_0", R"([{"a":1}])"}, {"plain_1", R"([{"a":2}])"}}},
        {"failure while running", "SELECT x'00' AS a", "a.json", false, {}},
        {"column without a name of its own", "SELECT count(*) FROM Files", "a.json", false, {}},
        {"no statement", " ; ", "a.json", false, {}},
    };
    const auto processor = NewResults(false);
    int number = 0;
    for (const SBodyCase& row : cases) {
        const std::string folder = m_folder.File("json" + std::to_string(++number));
        const auto rules = NewExport(processor, {{"One", row.body, row.output}});
        EXPECT_EQ(rules->ExecuteExport(m_output.c_str(), 0, 0, 0, folder.c_str()), row.result)
            << row.name;
        EXPECT_EQ(FilesIn(folder), row.files) << row.name;
    }
}

TEST_F(ExportRuleTest, ExportsTablesAndViewsByName) {
    const auto processor = NewResults();
    CExportRule rule(processor, "");
    SExportContext context;
    context.jsonFolder = m_output;
    rule.SetContext(context);
    CJsonExporter exporter(processor, rule, true);
    ASSERT_TRUE(processor->DB_ExecuteQuery("CREATE VIEW seen AS SELECT uri FROM Files"));
    EXPECT_TRUE(exporter.Export("seen", "seen.json", ""));
    EXPECT_EQ(ReadAll(m_output + "/seen.json"), R"([{"uri":"No explicit files information"}])");
    EXPECT_FALSE(exporter.Export("unseen", "unseen.json", ""));
}

TEST_F(ExportRuleTest, MakesDebugViews) {
    const auto processor = NewResults(false);
    const auto rules = NewExport(processor, {{"One", "SELECT 1 AS a;SELECT 2 AS a", "one.json"},
                                             {"Two", "SELECT 3 AS a", "two"}});
    EXPECT_TRUE(rules->ExecuteExport(m_output.c_str(), 0, 0, 0, ""));
    EXPECT_EQ(NamesOf(*processor->GetDatabase(), "view"), Rows());
    EXPECT_TRUE(rules->ExecuteExport(m_output.c_str(), 0, 1, 0, ""));
    EXPECT_EQ(NamesOf(*processor->GetDatabase(), "view"), (Rows{"__Debug__one", "__Debug__two"}));
    // The first statement of a body has the name.
    EXPECT_EQ(Query(*processor, "SELECT a FROM __Debug__one"), Rows{"1"});
}

TEST_F(ExportRuleTest, ChoosesTheFolderOfTheJsonFiles) {
    const std::vector<SRequest> requests = {{"One", "SELECT 1 AS a", "one.json"}};
    const std::string own = m_folder.File("own");
    const struct {
        const char* name;
        bool useResources;
        std::string output;
        std::string json;
        std::string expected;
    } cases[] = {
        {"own folder", false, m_output, own, own},
        {"beside the page", false, m_output, "", m_output},
        {"application data", false, "", "", m_folder.File("config")},
        {"report folder", true, "", "", m_folder.File("Nax/LandscapeValidation")},
    };
    for (const auto& row : cases) {
        CRulesProcessor::StartNewReport();
        const auto processor = NewResults(row.useResources);
        CRulesProcessor rules(processor, _bstr_t());
        EXPECT_TRUE(
            rules.LoadExportRules(m_folder.Write("actions.xml", ActionsOf(requests)).c_str()));
        EXPECT_TRUE(rules.ExecuteExport(row.output.c_str(), 0, 0, 0, row.json.c_str())) << row.name;
        const std::string file = row.useResources ? "/EllipseResult.json" : "/one.json";
        EXPECT_TRUE(std::filesystem::exists(row.expected + file)) << row.name;
        const std::string page = row.output.empty() ? row.expected : row.output;
        EXPECT_TRUE(std::filesystem::exists(page + "/ValidationResults.htm")) << row.name;
        std::filesystem::remove_all(m_output);
        std::filesystem::remove_all(row.expected);
    }
}

TEST_F(ExportRuleTest, RunsNothingWithoutRulesOrWithAnUnknownMode) {
    const auto processor = NewResults(false);
    CRulesProcessor none(processor, _bstr_t());
    EXPECT_FALSE(none.ExecuteExport(m_output.c_str(), 1, 0, 0, ""));
    EXPECT_FALSE(std::filesystem::exists(m_output));
    const auto rules = NewExport(processor, {{"One", "SELECT 1 AS a", "one.json"}});
    EXPECT_FALSE(rules->ExecuteExport(m_output.c_str(), 2, 0, 0, ""));
    EXPECT_FALSE(std::filesystem::exists(m_output + "/one.json"));
}

} // namespace Nax::FrontEnd::XMLDB::Testing
