// SPDX-License-Identifier: Apache-2.0
#include "rules/sql_rule.h"
#include "processor_fixture.h"

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

class CSqlRuleTest : public CProcessorTest {
protected:
    CSqlRuleTest() : m_processor(NewProcessor(Normal)), m_rule(m_processor) {
        EXPECT_TRUE(Run(*m_processor, openDB));
        EXPECT_TRUE(Run(*m_processor, CreateResultsTable));
        m_rule.id = "12";
        m_rule.name = "name";
        m_rule.type = "Warning";
        m_rule.msg = "msg";
        m_rule.lang = "sql";
    }

    Rows Results(const std::string& columns) {
        return Query(*m_processor, "SELECT " + columns + " FROM ValidationResults ORDER BY pk");
    }
    static std::string Insert(const std::string& description) {
        return "INSERT INTO ValidationResults (RuleId, ResultDescription, uuid, file_id) VALUES "
               "('@ruleid', '" +
               description + "', 'u', '3')";
    }

    std::shared_ptr<CDBProcessor> m_processor;
    CSqlRule m_rule;
};

TEST_F(CSqlRuleTest, FailingStatementIsRecordedAndTheNextStillRuns) {
    m_rule.body = (Insert("one") + ";nonsense 'x';" + Insert("three")).c_str();
    EXPECT_TRUE(m_rule.Initialize());
    EXPECT_TRUE(m_rule.Run());
    EXPECT_TRUE(m_rule.Finalize());
    // Escaped by itself and again with its heading: its quotes are stored doubled.
    const std::string error = "Runtime error\n" + ErrorText("DB_ExecuteQuery", 257,
                                                            "Failed execute query : nonsense ''x''",
                                                            "near \"nonsense\": syntax error");
    EXPECT_EQ((Rows{"12|<null>|<null>|<null>|<null>|<null>|one|<null>|u|3|<null>",
                    "12|name|Warning|msg|sql|" + std::string(m_rule.body.GetString()) + "|" +
                        error + "|2|<null>||",
                    "12|<null>|<null>|<null>|<null>|<null>|three|<null>|u|3|<null>"}),
              Results("RuleId, Name, Type, Msg, Lang, Body, ResultDescription, ResultId, UUID, "
                      "file_id, RunTimeErrorTrace"));
    EXPECT_STREQ("", m_rule.PostRun());
    EXPECT_EQ((Rows{"name|Warning|msg|5|one|3", "name|Warning|msg|2|" + error + "|",
                    "name|Warning|msg|5|three|3"}),
              Results("Name, Type, Msg, ResultId, ResultDescription, file_id"))
        << "stamped, the runtime error left alone";
}

TEST_F(CSqlRuleTest, ResultIsThatOfTheLastStatement) {
    const struct {
        const char* body;
        const char* name;
        bool result;
        std::size_t errors;
    } cases[] = {
        {"", "name", true, 0},
        {"SELECT 1", "name", true, 0},
        {"SELECT 1;", "name", true, 0},
        {";;", "name", true, 0},
        {"nonsense", "name", true, 1},
        {"nonsense;more;", "name", true, 2},
        // The texts of the error row are not escaped: a quote in the name makes its insert fail.
        {"nonsense", "it's", false, 0},
        {"nonsense;SELECT 1", "it's", true, 0},
        {"SELECT 1;nonsense", "it's", false, 0},
    };
    for (const auto& item : cases) {
        ASSERT_TRUE(m_processor->DB_ExecuteQuery("DELETE FROM ValidationResults"));
        m_rule.body = item.body;
        m_rule.name = item.name;
        EXPECT_EQ(item.result, m_rule.Run()) << item.body;
        EXPECT_EQ(item.errors, Results("pk").size()) << item.body;
    }
}

TEST_F(CSqlRuleTest, SemicolonInATextCutsTheStatement) {
    m_rule.body = "SELECT 'a;b'";
    EXPECT_TRUE(m_rule.Run());
    EXPECT_EQ((Rows{"2", "2"}), Results("ResultId"));
}

TEST_F(CSqlRuleTest, PlaceholdersAreFilledInWhereverTheyStand) {
    m_rule.msg = "at @ruleid: %s";
    const struct {
        const char* query;
        const char* result;
    } cases[] = {
        {"SELECT 1", "SELECT 1"},
        {"", ""},
        {"@ruleid @ruleid '@ruleid'", "12 12 '12'"},
        {"@message", "at @ruleid: %s"},
        {"@ruleids@message@message", "12sat @ruleid: %sat @ruleid: %s"},
        {"@RuleId @rule id", "@RuleId @rule id"},
    };
    for (const auto& item : cases) {
        EXPECT_STREQ(item.result, m_rule.PreprocessQuery(item.query)) << item.query;
    }
    m_rule.id = "@message";
    EXPECT_STREQ("at @ruleid: %s", m_rule.PreprocessQuery("@ruleid"));
}

TEST_F(CSqlRuleTest, RuleWithoutFindingsPasses) {
    m_rule.name = "it's";
    m_rule.msg = "the 'message'";
    m_rule.type = "Info";
    m_rule.body = "SELECT 'x'";
    EXPECT_TRUE(m_rule.Run());
    EXPECT_STREQ("", m_rule.PostRun());
    EXPECT_EQ(Rows{"12|it's|Info|the 'message'|sql|SELECT 'x'|Validation passed|1|<null>||"},
              Results("RuleId, Name, Type, Msg, Lang, Body, ResultDescription, ResultId, UUID, "
                      "file_id, RunTimeErrorTrace"));
}

TEST_F(CSqlRuleTest, TypeWordDecidesTheCode) {
    const struct {
        const char* type;
        const char* code;
    } cases[] = {{"Failed", "0"},  {"Warning", "5"}, {"Info", "6"},  {"Error", "0"},
                 {"warning", "0"}, {"", "0"},        {"Info ", "0"}, {"WARNING", "0"}};
    for (const auto& item : cases) {
        ASSERT_TRUE(m_processor->DB_ExecuteQuery("DELETE FROM ValidationResults"));
        m_rule.type = item.type;
        m_rule.name = "it's";
        m_rule.msg = "o'clock";
        m_rule.body = (Insert("found") + ";SELECT 'x'").c_str();
        EXPECT_TRUE(m_rule.Run());
        EXPECT_EQ(Rows{"<null>"}, Results("ResultId")) << "stamped only after the run";
        m_rule.PostRun();
        EXPECT_EQ(Rows{std::string("it's|o'clock|found|") + item.type + "|" + item.code},
                  Results("Name, Msg, ResultDescription, Type, ResultId"))
            << item.type;
    }
}

TEST_F(CSqlRuleTest, OtherRulesRowsAreLeftAlone) {
    ASSERT_TRUE(m_processor->DB_ExecuteQuery(
        "INSERT INTO ValidationResults (RuleId, ResultId) VALUES ('1', '9'), ('120', NULL)"));
    m_rule.PostRun();
    EXPECT_EQ((Rows{"1|9", "120|<null>", "12|1"}), Results("RuleId, ResultId"));
}

TEST_F(CSqlRuleTest, WithoutResultsTableOrProcessorNothingIsWritten) {
    ASSERT_TRUE(m_processor->DB_ExecuteQuery("DROP TABLE ValidationResults"));
    m_rule.body = "nonsense";
    EXPECT_FALSE(m_rule.Run());
    EXPECT_STREQ("", m_rule.PostRun());
    CSqlRule orphan(nullptr);
    orphan.body = "SELECT 1";
    EXPECT_FALSE(orphan.Run());
    EXPECT_STREQ("", orphan.PostRun());
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
