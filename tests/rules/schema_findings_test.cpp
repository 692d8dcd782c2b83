// SPDX-License-Identifier: Apache-2.0
#include "processor_fixture.h"

#include <naxfewxmldb/rules_processor.h>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

class CSchemaFindingsTest : public CProcessorTest {
protected:
    CSchemaFindingsTest()
        : m_processor(NewLandscape("INSERT INTO Files (url, indx) VALUES ('b.xml', '0'), "
                                   "('it''s.xml', '1'), ('ä.xml', '2'), ('b.xml', '3'), "
                                   "('noindex.xml', NULL)")),
          m_rules(m_processor, _bstr_t()) {
        EXPECT_TRUE(Run(*m_processor, CreateRulesTable));
        EXPECT_TRUE(m_rules.Initialize());
    }

    Rows Results(const std::string& columns) {
        return Query(*m_processor, "SELECT " + columns + " FROM ValidationResults ORDER BY pk");
    }
    Rows StoredRules() {
        return Query(*m_processor,
                     "SELECT RuleId, Name, Type, Msg, Params, Lang, Body, Solution "
                     "FROM Rules");
    }

    std::shared_ptr<CDBProcessor> m_processor;
    CRulesProcessor m_rules;
};

TEST_F(CSchemaFindingsTest, NothingToStoreMakesNoPseudoRule) {
    EXPECT_FALSE(m_rules.PreProcess({}));
    EXPECT_FALSE(m_rules.PreProcess({{"b.xml", {"fine", ValidationAgainstXSDPassed}}}));
    EXPECT_EQ(Rows{}, Results("*"));
    EXPECT_EQ(Rows{}, StoredRules());
}

TEST_F(CSchemaFindingsTest, FindingsBecomeRowsInTheOrderOfTheirFiles) {
    EXPECT_TRUE(m_rules.PreProcess({
        {"ä.xml", {"<p>it's '%s' &lt;\n</p>", ValidationAgainstXSDFailed}},
        {"b.xml", {"b", ValidationAgainstXSDFailed}},
        {"it's.xml", {_bstr_t(), RuntimeError}},
        {"passed.xml", {"p", ValidationAgainstXSDPassed}},
        {"unknown.xml", {"u", ValidationWarning}},
    }));
    const std::string head = "-1|XML Schema(XSD) validation results|Warning||XSD||";
    EXPECT_EQ((Rows{head + "b|3|<null>|0|", head + "|2|<null>|1|", head + "u|5|<null>|-1|",
                    head + "<p>it's '%s' &lt;\n</p>|3|<null>|2|"}),
              Results("RuleId, Name, Type, Msg, Lang, Body, ResultDescription, ResultId, UUID, "
                      "file_id, RunTimeErrorTrace"));
    EXPECT_EQ(Rows{"-1|Validation against XSD|Warning|||XSD||"}, StoredRules());
    EXPECT_TRUE(m_rules.GetRules().empty()) << "stored, never run";
}

TEST_F(CSchemaFindingsTest, ResultIsThatOfTheLastRowAndOneSuccessMakesThePseudoRule) {
    ASSERT_TRUE(m_processor->DB_ExecuteQuery(
        "CREATE TRIGGER refuse BEFORE INSERT ON ValidationResults WHEN new.ResultDescription = "
        "'refused' BEGIN SELECT RAISE(ABORT, 'no'); END"));
    const SchemaFinding good = {"good", ValidationAgainstXSDFailed};
    const SchemaFinding refused = {"refused", ValidationAgainstXSDFailed};
    EXPECT_FALSE(m_rules.PreProcess({{"a.xml", refused}}));
    EXPECT_EQ(0U, StoredRules().size());
    EXPECT_FALSE(m_rules.PreProcess({{"a.xml", good}, {"b.xml", refused}}));
    EXPECT_EQ(1U, StoredRules().size());
    EXPECT_TRUE(m_rules.PreProcess({{"a.xml", refused}, {"b.xml", good}}));
    EXPECT_EQ((Rows{"good", "good"}), Results("ResultDescription"));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
