// SPDX-License-Identifier: Apache-2.0
#include "processor_fixture.h"

#include <naxfewxmldb/rules_processor.h>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

constexpr char kStored[] =
    "SELECT RuleId, Name, Type, Msg, Params, Lang, Body, Solution FROM Rules ORDER BY pk";

/// Rules come from files here, not from the resources.
class CRulesProcessorTest : public CProcessorTest {
protected:
    CRulesProcessorTest()
        : m_processor(std::make_shared<CDBProcessor>(false, Normal, _bstr_t(), _bstr_t())),
          m_rules(m_processor, "host text") {
        EXPECT_TRUE(Run(*m_processor, openDB));
        EXPECT_TRUE(Run(*m_processor, CreateRulesTable));
    }

    bool Load(const std::string& content) {
        return m_rules.LoadRules(m_folder.Write("rules.xml", content).c_str());
    }
    static std::string Rule(const std::string& id, const std::string& body) {
        return "<Rule id='" + id + "' name='n" + id + "' type='Warning' body=\"" + body + "\"/>";
    }
    static std::string RuleSet(const std::string& content) {
        return "<ValidationRules>" + content + "</ValidationRules>";
    }
    std::string LoadedIds() const {
        std::string ids;
        for (const std::shared_ptr<IRule>& rule : m_rules.GetRules()) {
            ids += std::string(rule->id.GetString()) + " ";
        }
        return ids;
    }

    std::shared_ptr<CDBProcessor> m_processor;
    CRulesProcessor m_rules;
};

TEST_F(CRulesProcessorTest, ReadsRuleElementsOnlyInTheirOrder) {
    EXPECT_TRUE(Load(
        "<?xml version='1.0' encoding='utf-8'?><!-- <Rule id='0'/> --><ValidationRules>\n"
        "<!-- first --><Rule body=\"SELECT '&lt;&amp;&apos;' WHERE 1 &lt; 2\" id='7' name=\"it's\" "
        "type='Info' msg='ä %s' params='p' lang='sql' solution='link'/>text<Other id='8'><Rule "
        "id='9'/></Other><rule id='10'/><Rule ID='11'>body</Rule><![CDATA[<Rule/>]]><Rule id='7'/>"
        "</ValidationRules>"));
    const auto rules = m_rules.GetRules();
    ASSERT_EQ(3U, rules.size());
    EXPECT_STREQ("7", rules[0]->id);
    EXPECT_STREQ("it's", rules[0]->name);
    EXPECT_STREQ("Info", rules[0]->type);
    EXPECT_STREQ("ä %s", rules[0]->msg);
    EXPECT_STREQ("p", rules[0]->params);
    EXPECT_STREQ("sql", rules[0]->lang);
    EXPECT_STREQ("SELECT '<&'' WHERE 1 < 2", rules[0]->body);
    EXPECT_STREQ("link", rules[0]->solution);
    EXPECT_EQ("7  7 ", LoadedIds());
    // Stored without single quotes.
    EXPECT_EQ((Rows{"7|its|Info|ä %s|p|sql|SELECT <& WHERE 1 < 2|link", "|||||||", "7|||||||"}),
              Query(*m_processor, kStored));
}

TEST_F(CRulesProcessorTest, SecondLoadAppendsAndRefillsTheTable) {
    EXPECT_TRUE(Load(RuleSet(Rule("1", "") + Rule("2", ""))));
    ASSERT_TRUE(m_processor->DB_ExecuteQuery("INSERT INTO Rules (RuleId) VALUES ('other')"));
    EXPECT_TRUE(Load(RuleSet(Rule("3", ""))));
    EXPECT_EQ("1 2 3 ", LoadedIds());
    EXPECT_EQ((Rows{"1", "2", "3"}), Query(*m_processor, "SELECT RuleId FROM Rules ORDER BY pk"));
}

TEST_F(CRulesProcessorTest, UnusableDocumentsLeaveRulesAndTableAsTheyWere) {
    EXPECT_TRUE(Load(RuleSet(Rule("1", ""))));
    ASSERT_TRUE(m_processor->DB_ExecuteQuery("INSERT INTO Rules (RuleId) VALUES ('kept')"));
    EXPECT_TRUE(Load("<Rules><Rule id='5'/></Rules>")) << "it could be loaded";
    EXPECT_FALSE(Load("<ValidationRules><Rule id='5'/>"));
    EXPECT_FALSE(Load(""));
    EXPECT_FALSE(m_rules.LoadRules(m_folder.File("missing.xml").c_str()));
    EXPECT_FALSE(m_rules.LoadRules(_bstr_t()));
    EXPECT_EQ("1 ", LoadedIds());
    EXPECT_EQ((Rows{"1", "kept"}), Query(*m_processor, "SELECT RuleId FROM Rules ORDER BY pk"));
}

TEST_F(CRulesProcessorTest, EmptySetEmptiesTheTable) {
    ASSERT_TRUE(m_processor->DB_ExecuteQuery("INSERT INTO Rules (RuleId) VALUES ('old')"));
    EXPECT_TRUE(Load("<ValidationRules/>"));
    EXPECT_EQ(Rows{}, Query(*m_processor, kStored));
    EXPECT_TRUE(m_rules.ToTable()) << "without rules the result of the deletion";
    EXPECT_FALSE(m_rules.Execute());
    EXPECT_EQ(Rows{}, Query(*m_processor, "SELECT * FROM ValidationResults"));
}

TEST_F(CRulesProcessorTest, StoringTellsTheLastResultOnly) {
    EXPECT_TRUE(Load(RuleSet(Rule("1", "") + Rule("2", ""))));
    ASSERT_TRUE(m_processor->DB_ExecuteQuery(
        "CREATE TRIGGER refuse BEFORE INSERT ON Rules WHEN new.RuleId = '1' BEGIN "
        "SELECT RAISE(ABORT, 'no'); END"));
    EXPECT_TRUE(m_rules.ToTable());
    EXPECT_EQ(Rows{"2"}, Query(*m_processor, "SELECT RuleId FROM Rules"));
    ASSERT_TRUE(m_processor->DB_ExecuteQuery("DROP TABLE Rules"));
    EXPECT_FALSE(m_rules.ToTable());
    EXPECT_FALSE(m_rules.RuleToTable(m_rules.GetRules().front()));
    EXPECT_TRUE(Load(RuleSet(""))) << "storing fails, loading does not";
}

TEST_F(CRulesProcessorTest, EveryRuleRunsBeforeAnyIsSummarised) {
    const std::string insert = "INSERT INTO ValidationResults (RuleId) VALUES ('1')";
    EXPECT_TRUE(Load(RuleSet(Rule("1", "SELECT 1") + Rule("2", insert))));
    EXPECT_TRUE(m_rules.Execute());
    const Rows once = {"1|5|n1", "2|1|n2"};
    const std::string query = "SELECT RuleId, ResultId, Name FROM ValidationResults ORDER BY pk";
    EXPECT_EQ(once, Query(*m_processor, query)) << "rule 2 found it before rule 1 was summarised";
    EXPECT_TRUE(m_rules.Execute());
    EXPECT_EQ((Rows{"1|5|n1", "2|5|n2", "1|5|n1"}), Query(*m_processor, query)) << "rows are added";
    EXPECT_TRUE(m_rules.Initialize());
    EXPECT_EQ(Rows{}, Query(*m_processor, query)) << "made anew";
}

TEST_F(CRulesProcessorTest, ResultIsThatOfTheLastRule) {
    // A quote in the name makes the error row of a failing rule fail too.
    const std::string failing = "<Rule id='1' name=\"it's\" body='nonsense'/>";
    EXPECT_TRUE(Load(RuleSet(Rule("0", "SELECT 1") + failing)));
    EXPECT_FALSE(m_rules.Execute());
    EXPECT_TRUE(Load(RuleSet(Rule("2", "SELECT 1"))));
    EXPECT_TRUE(m_rules.Execute());
}

TEST_F(CRulesProcessorTest, InitializeBringsOlderTablesToTheCurrentColumns) {
    const struct {
        const char* files;
        Rows columns;
    } cases[] = {
        {"CREATE TABLE Files (url TEXT, indx TEXT)", {"uri", "indx", "ResultId"}},
        {"CREATE TABLE Files (uri TEXT, indx TEXT)", {"uri", "indx", "ResultId"}},
        {"CREATE TABLE Files (url TEXT, ResultId TEXT)", {"uri", "ResultId"}},
        {"SELECT 1", {}},
    };
    for (const auto& item : cases) {
        ASSERT_TRUE(m_processor->DB_ExecuteQuery("DROP TABLE IF EXISTS Files"));
        ASSERT_TRUE(m_processor->DB_ExecuteQuery(item.files));
        ASSERT_TRUE(Run(*m_processor, CreateRulesTable));
        for (int run = 0; run < 2; ++run) {
            EXPECT_TRUE(m_rules.Initialize()) << item.files;
            EXPECT_FALSE(m_processor->GetDatabase()->IsTransactionStarted());
            EXPECT_EQ(item.columns,
                      Query(*m_processor, "SELECT name FROM pragma_table_info('Files')"));
            EXPECT_EQ(Rows{"ResultId"}, Query(*m_processor,
                                              "SELECT name FROM pragma_table_info("
                                              "'Rules') WHERE cid > 8"));
        }
    }
}

TEST_F(CRulesProcessorTest, WithoutProcessorOrDatabaseEverythingFails) {
    CRulesProcessor orphan(nullptr, _bstr_t());
    EXPECT_FALSE(orphan.Initialize());
    EXPECT_FALSE(orphan.LoadRules("rules.xml"));
    EXPECT_FALSE(orphan.ToTable());
    EXPECT_FALSE(orphan.Execute());
    EXPECT_FALSE(orphan.PreProcess({}));
    m_processor->UnInitialize();
    EXPECT_FALSE(m_rules.Initialize());
    EXPECT_TRUE(Load(RuleSet(Rule("1", "SELECT 1")))) << "the document could be loaded";
    EXPECT_FALSE(m_rules.Execute());
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
