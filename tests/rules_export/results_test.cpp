// SPDX-License-Identifier: Apache-2.0
#include "export_fixture.h"

#include <algorithm>
#include <filesystem>

namespace Nax::FrontEnd::XMLDB::Testing {

namespace {

class ResultsTest : public CExportTest {
protected:
    /// Rules and files with every kind of result; of a rule and of a file the mildest come first.
    std::shared_ptr<CDBProcessor> NewMixedResults() {
        auto processor = NewResults();
        for (const char* id : {"0", "1", "2", "3", "4", "9", "-1"}) {
            AddRule(*processor, id, std::string("rule ") + id);
        }
        for (const char* index : {"1", "2", "3", "4", "5"}) {
            AddFile(*processor, index, std::string("file ") + index);
        }
        AddResult(*processor, "0", "1", "", nullptr);
        AddResult(*processor, "2", "6", "1", "u");
        AddResult(*processor, "1", "5", "1", "u");
        AddResult(*processor, "3", "0", "1", "u");
        AddResult(*processor, "3", "0", "2", "");
        AddResult(*processor, "4", "5", "5", "u");
        AddResult(*processor, "4", "2", "", nullptr);
        AddResult(*processor, "-1", "3", "2", nullptr);
        AddResult(*processor, "0", "4", "3", "u");
        return processor;
    }

    bool PostProcess(CRulesProcessor& rules) {
        return rules.PostProcess("", m_output.c_str(), 1, 0, 0, "");
    }

    std::vector<std::string> Summaries(const std::string& folder) {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().filename().string().starts_with("Data_")) {
                files.push_back(entry.path().string());
            }
        }
        return files;
    }
};

} // namespace

TEST_F(ResultsTest, SettlesTheCodesOfRulesAndFiles) {
    const auto processor = NewMixedResults();
    CRulesProcessor rules(processor, _bstr_t());
    EXPECT_TRUE(PostProcess(rules));

    // Of several codes the worst; a rule without results has none.
    EXPECT_EQ(Query(*processor, "SELECT RuleId, ResultId FROM Rules ORDER BY pk"),
              (Rows{"0|1", "1|5", "2|6", "3|0", "4|2", "9|<null>", "-1|3"}));
    EXPECT_EQ(Query(*processor, "SELECT indx, ResultId FROM Files ORDER BY rowid"),
              (Rows{"-1|0", "1|0", "2|0", "3|1", "4|1", "5|5"}));
    // Failures and runtime errors that name no entry belong to no file, schema findings stay.
    EXPECT_EQ(
        Query(*processor,
              "SELECT RuleId, ResultId, file_id FROM ValidationResults "
              "ORDER BY pk"),
        (Rows{"0|1|", "2|6|1", "1|5|1", "3|0|1", "3|0|-1", "4|5|5", "4|2|-1", "-1|3|2", "0|4|3"}));
    const Rows columns =
        Query(*processor, "SELECT name FROM pragma_table_info('ValidationResults')");
    EXPECT_EQ(columns, (Rows{"pk", "RuleId", "Name", "Type", "Msg", "Lang", "ResultDescription",
                             "ResultId", "UUID", "file_id"}));
    EXPECT_EQ(NamesOf(*processor->GetDatabase(), "view"), Rows());
}

TEST_F(ResultsTest, LeavesTheCodesAloneInsideATransaction) {
    const auto processor = NewMixedResults();
    CRulesProcessor rules(processor, _bstr_t());
    ASSERT_TRUE(processor->GetDatabase()->BeginTransaction());
    EXPECT_FALSE(PostProcess(rules));
    EXPECT_EQ(Query(*processor, "SELECT DISTINCT ResultId FROM Files"), Rows{"<null>"});
    // The other steps have been taken.
    EXPECT_TRUE(std::filesystem::exists(m_output + "/ValidationResults.htm"));
    EXPECT_EQ(Query(*processor,
                    "SELECT count(*) FROM pragma_table_info('ValidationResults') "
                    "WHERE name LIKE 'Body' OR name LIKE 'RunTimeErrorTrace'"),
              Rows{"0"});
}

TEST_F(ResultsTest, RunsAllStepsWithoutExportRules) {
    const auto processor = NewResults(false);
    AddResult(*processor, "1", "0", "-1", "u");
    CRulesProcessor rules(processor, _bstr_t());
    const std::string missing = m_folder.File("missing.xml");
    EXPECT_FALSE(rules.PostProcess(missing.c_str(), m_output.c_str(), 1, 0, 0, ""));
    EXPECT_EQ(Query(*processor, "SELECT ResultId FROM Files"), Rows{"0"});
    EXPECT_EQ(Query(*processor, "SELECT count(*) FROM pragma_table_info('ValidationResults')"),
              Rows{"10"});

    // Export rules that were loaded before are run all the same.
    const auto loaded = NewExport(processor, {{"One", "SELECT 1 AS a", "one.json"}});
    EXPECT_FALSE(loaded->LoadExportRules(missing.c_str()));
    EXPECT_EQ(loaded->GetRulesExport().size(), 1U);
    EXPECT_TRUE(loaded->ExecuteExport(m_output.c_str(), 0, 0, 0, ""));
    EXPECT_EQ(ReadAll(m_output + "/one.json"), "[{\"a\":1}]");
    const std::string other = m_folder.Write("other.xml", "<Rules><JsonRequest/></Rules>");
    EXPECT_TRUE(loaded->LoadExportRules(other.c_str()));
    EXPECT_EQ(loaded->GetRulesExport().size(), 1U);
}

TEST_F(ResultsTest, WritesTheXmlSummaryAsItIs) {
    const auto processor = NewResults();
    AddResult(*processor, "7", "0", "1", "u");
    AddResult(*processor, "<&\">", "2", "", nullptr);
    CRulesProcessor rules(processor, _bstr_t());
    // Before any export it goes to the application-data folder.
    EXPECT_TRUE(rules.GenerateReport());
    const std::vector<std::string> early = Summaries(m_folder.File("config"));
    ASSERT_EQ(early.size(), 1U);
    EXPECT_EQ(ReadAll(early.front()),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ReportData>\n"
              "<Item RuleId = \"7\" Result = \"\" RunTimeErrorTrace = \"trace\" />\n"
              "<Item RuleId = \"<&\">\" Result = \"\" RunTimeErrorTrace = \"trace\" />\n"
              "</ReportData>\n");

    EXPECT_TRUE(PostProcess(rules));
    EXPECT_TRUE(rules.GenerateReport());
    const std::vector<std::string> late = Summaries(m_output);
    ASSERT_EQ(late.size(), 1U);
    EXPECT_NE(ReadAll(late.front())
                  .find("<Item RuleId = \"7\" Result = \"\" RunTimeErrorTrace = \"\" />\n"),
              std::string::npos);

    // Without results only the frame is left; there is nobody who could be told.
    processor->DB_ExecuteQuery("DROP TABLE ValidationResults");
    std::filesystem::remove(late.front());
    EXPECT_TRUE(rules.GenerateReport());
    ASSERT_EQ(Summaries(m_output).size(), 1U);
    EXPECT_EQ(ReadAll(Summaries(m_output).front()),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ReportData>\n</ReportData>\n");
}

} // namespace Nax::FrontEnd::XMLDB::Testing
