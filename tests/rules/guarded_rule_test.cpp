// SPDX-License-Identifier: Apache-2.0
// Rules from elsewhere: what they may do, and that nothing remains of what they may not.
#include "processor_fixture.h"

#include <naxfewxmldb/rules_processor.h>

#include <algorithm>
#include <filesystem>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

using std::chrono::milliseconds;

constexpr char kLandscape[] =
    "INSERT INTO Files (url, indx) VALUES ('a.xml', '0');"
    "INSERT INTO Services (uuid, file_id) VALUES ('s1', '0'), "
    "('s2', '0')";
constexpr char kInsert[] =
    "INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, "
    "file_id) ";

std::string Repeated(const std::string& text, int count) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

class CGuardedRuleTest : public CProcessorTest {
protected:
    CGuardedRuleTest() : m_processor(NewLandscape(kLandscape)), m_rules(m_processor, _bstr_t()) {
        Run(*m_processor, CreateResultIdTable);
        Run(*m_processor, CreateRulesTable);
        m_rules.Initialize();
    }

    std::shared_ptr<IRule> Add(const char* id, const std::string& body,
                               milliseconds limit = milliseconds(20000)) {
        const std::shared_ptr<IRule> rule = m_rules.AddGuardedRule(limit);
        rule->id = id;
        rule->name = "it's";
        rule->type = "Warning";
        rule->msg = "found %s";
        rule->body = body.c_str();
        return rule;
    }
    /// Runs a harmless rule, the body as rule 50, and a harmless rule.
    Rows ResultsAround(const std::string& body, milliseconds limit = milliseconds(20000)) {
        m_rules.SetRules({});
        m_rules.Initialize();
        Add("40", std::string(kInsert) + "SELECT @ruleid, 'one', uuid, file_id FROM Services");
        Add("50", body, limit);
        Add("60", std::string(kInsert) + "SELECT @ruleid, 'two', 's1', '0'");
        m_rules.ToTable();
        m_rules.Execute();
        return Query(*m_processor,
                     "SELECT RuleId || ':' || ResultId || ':' || ResultDescription "
                     "FROM ValidationResults ORDER BY CAST(RuleId AS INTEGER), pk");
    }
    /// A database that nobody has tampered with answers so.
    std::string Fingerprint() {
        return Query(*m_processor,
                     "SELECT (SELECT group_concat(type || name || ifnull(sql, ''), '|') FROM "
                     "sqlite_master) || (SELECT group_concat(uuid || file_id) FROM Services) || "
                     "(SELECT group_concat(uri || indx) FROM Files) || (SELECT count(*) FROM "
                     "sqlite_temp_master)")
            .front();
    }

    std::shared_ptr<CDBProcessor> m_processor;
    CRulesProcessor m_rules;
};

// The program's own test of its cage tries more statements.
TEST_F(CGuardedRuleTest, HostileBodiesBecomeOneRuntimeErrorAndChangeNothing) {
    const std::string insert = kInsert;
    const struct {
        std::string body;
        const char* told;
    } kCases[] = {
        {"ATTACH 'other.db' AS o", "not allowed: ATTACH"},
        {"UPDATE ValidationResults SET RuleId = '1'", "not allowed: UPDATE of ValidationResults"},
        {"DELETE FROM ValidationResults", "not allowed: DELETE from ValidationResults"},
        {"REPLACE INTO main.ValidationResults (pk, RuleId) VALUES (1, '50')", "not allowed: "},
        {"SELECT 1", "no statement inserts"},
        {"-- " + insert + "SELECT @ruleid, 'x', 's1', '0'", "no statement inserts"},
        {"", "no statement inserts"},
        {insert + "SELECT @ruelid, 'x', 's1', '0'", "the placeholder @ruelid is not known"},
        {insert + "SELECT @ruleid, ?, 's1', '0'", "the placeholder ? is not known"},
        {insert + "SELECT '40', 'x', 's1', '0'", "a result with the rule id '40'"},
        {insert + "SELECT NULL, 'x', 's1', '0'", "a result with the rule id NULL"},
        {insert + "SELECT '-1', 'x', 's1', '0'", "a result with the rule id '-1'"},
        {insert + "SELECT @ruleid, 'x', 's1', '7'", "a result with the file '7'"},
        {insert + "SELECT @ruleid, 'x', 's1', '0' ON CONFLICT (pk) DO UPDATE SET RuleId = '40'",
         ""},
        {"INSERT INTO temp.ValidationResults (RuleId) VALUES ('40')", "the rule id '40'"},
        {insert + "SELECT @ruleid, zeroblob(1000000000), 's1', '0'", "too big"},
        {"SELECT format('%s%.*c', 1, -2147483647, 'x')", "too big"},
        {"SELECT printf('%.49999c%.9c', 'x', 'x')", "too big"},
        {"SELECT printf('%.99999999999999999999c', 'x')", "too big"},
        {"SELECT regexp('((a{0,99}){0,99}){0,99}b', printf('%*d', 90000, 1))",
         "too large together"},
        {"WITH RECURSIVE c(x) AS (SELECT randomblob(150000) UNION ALL SELECT randomblob(150000) "
         "FROM c) SELECT count(*) FROM (SELECT x FROM c ORDER BY x)",
         "stopped: it needs more than 128 MB"},
        {"SELECT " + Repeated("instr('a', 'b') + ", 20) + "('a' LIKE 'b')",
         "not allowed: more than 20 searches"},
        {insert + "SELECT @ruleid, 'kept not', 's1', '0'; nonsense", "statement 2 of 2: near"},
        {insert + "SELECT @ruleid, 'kept not', 's1', '0'; DROP TABLE Files; DROP TABLE Items",
         "statement 2 of 3: not allowed"},
    };
    const std::string before = Fingerprint();
    for (const auto& testCase : kCases) {
        const Rows rows = ResultsAround(testCase.body, milliseconds(10000));
        ASSERT_EQ(rows.size(), 4U) << testCase.body << '\n' << ::testing::PrintToString(rows);
        EXPECT_EQ(rows[0] + rows[1] + rows[3], "40:5:one40:5:one60:5:two") << testCase.body;
        EXPECT_TRUE(rows[2].starts_with("50:2:Runtime error\n") &&
                    rows[2].find(testCase.told) != std::string::npos)
            << testCase.body << '\n'
            << rows[2];
        EXPECT_EQ(Fingerprint(), before) << testCase.body;
    }
    EXPECT_FALSE(std::filesystem::exists("other.db"));
    EXPECT_EQ(Query(*m_processor, "PRAGMA temp_store"), Rows{"0"}) << "the setting is put back";
}

TEST_F(CGuardedRuleTest, EndlessBodiesEndAtTheTimeLimit) {
    const std::string endless = "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) ";
    for (const std::string& body :
         {endless + "SELECT count(*) FROM c",
          std::string(kInsert) + endless + "SELECT @ruleid, x, 's1', '0' FROM c"}) {
        const auto start = std::chrono::steady_clock::now();
        const Rows rows = ResultsAround(body, milliseconds(200));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << body;
        EXPECT_EQ(rows,
                  (Rows{"40:5:one", "40:5:one",
                        "50:2:Runtime error\nstopped: the time limit is over (0.2 s)", "60:5:two"}))
            << body;
    }
    EXPECT_EQ(Query(*m_processor, "PRAGMA hard_heap_limit"), Rows{"0"}) << "limits are lifted";
    EXPECT_EQ(Query(*m_processor, "SELECT length(zeroblob(2000000))"), Rows{"2000000"});
}

TEST_F(CGuardedRuleTest, WhatItMayDo) {
    const std::string insert = kInsert;
    const struct {
        std::string body;
        Rows results;
    } kCases[] = {
        {insert + "SELECT @ruleid, printf('@message', uuid), uuid, file_id FROM Services;",
         {"50:5:found s1", "50:5:found s2"}},
        {insert + "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 3) "
                  "SELECT @ruleid, x, 's1', '0' FROM c WHERE x > 2",
         {"50:5:3"}},
        {insert + "SELECT @ruleid, count(*), 's1', '0' FROM main.ValidationResults; " + insert +
             "SELECT @ruleid, count(*), '', '' FROM ValidationResults",
         {"50:5:2", "50:5:1"}},
        {"INSERT INTO ValidationResults (RuleId, ResultId, Type) VALUES (@ruleid, '2', 'Info')",
         {"50:5:"}},
        {"REPLACE INTO ValidationResults (pk, RuleId, ResultDescription) VALUES (1, 50, 'r')",
         {"50:5:r"}},
        {insert + "SELECT @ruleid, printf('%*d', 2000000000, 1), 's1', '0'", {"50:5:"}},
        {insert + "SELECT @ruleid, printf('%-5s|%.3f|%*d|%s%n%%', 'it''s', 0.5, 3, 7, NULL) || "
                  "ifnull(printf(), '-') || format('%.49999c', 'x') LIKE 'it''s |0.500|  7|%-xx%', "
                  "'s1', '0'",
         {"50:5:1"}},
        {insert + "SELECT @ruleid, value, 's1', '0' FROM json_each('[7]')", {"50:5:7"}},
        {insert + "SELECT @ruleid, 'x', 's1', '0' WHERE 'a' NOT REGEXP 'a'",
         {"50:1:" + std::string(ResultCodeName(ValidationPassed))}},
    };
    for (const auto& testCase : kCases) {
        Rows rows = ResultsAround(testCase.body);
        std::erase_if(rows, [](const std::string& row) { return !row.starts_with("50:"); });
        EXPECT_EQ(rows, testCase.results) << testCase.body;
    }
}

TEST_F(CGuardedRuleTest, NoTextOfARuleReachesAStatement) {
    const std::string attack = "x','','','','','','','','');DELETE FROM Files;--";
    for (const char* body :
         {"nonsense", "", "INSERT INTO ValidationResults (RuleId) SELECT '50'"}) {
        m_rules.SetRules({});
        const std::shared_ptr<IRule> rule = Add("50", body);
        for (CStringA* text :
             {&rule->name, &rule->type, &rule->msg, &rule->lang, &rule->params, &rule->solution}) {
            *text = attack.c_str();
        }
        m_rules.ToTable();
        m_rules.Execute();
        EXPECT_EQ(Query(*m_processor, "SELECT count(*) FROM Files"), Rows{"1"}) << body;
    }
}

TEST_F(CGuardedRuleTest, CheckTellsEveryFaultAndRunsNothing) {
    const std::string insert = std::string(kInsert) + "SELECT @ruleid, 'x', uuid, file_id FROM ";
    const struct {
        std::string body;
        std::vector<const char*> faults;
    } kCases[] = {
        {insert + "Services", {}},
        {insert + "Service", {"no such table: Service"}},
        {insert + "Services; DROP TABLE Files; SELECT none FROM Files",
         {"statement 2 of 3: not allowed", "statement 3 of 3: no such column: none"}},
        {"SELECT 1", {"no statement inserts"}},
        {insert + "Services; VACUUM", {"statement 2 of 2: not allowed: VACUUM"}},
        {insert + "Services WHERE name = :x", {"the placeholder :x is not known"}},
    };
    for (const auto& testCase : kCases) {
        const std::vector<std::string> faults = m_rules.CheckBody(Add("50", testCase.body));
        ASSERT_EQ(faults.size(), testCase.faults.size()) << testCase.body;
        for (std::size_t index = 0; index < faults.size(); ++index) {
            EXPECT_TRUE(faults[index].starts_with(testCase.faults[index])) << faults[index];
        }
    }
    const std::shared_ptr<IRule> cut = Add("50", insert + "Services WHERE name <> '@message'");
    cut->msg = "x'; a text that would not be run";
    EXPECT_EQ(m_rules.CheckBody(cut).front().find("a semicolon of \"msg\""), 0U);
    EXPECT_EQ(Query(*m_processor, "SELECT * FROM ValidationResults"), Rows{});
}

TEST_F(CGuardedRuleTest, ExportsReadOnlyAndStayInTheirFolder) {
    const struct {
        const char* output;
        const char* body;
        const char* failure; ///< empty: the file is written
    } kCases[] = {
        {"s.json", "SELECT uuid, file_id FROM Services", ""},
        {"none.json", "SELECT uuid FROM Services WHERE 0", ""},
        {"../up.json", "SELECT 1 AS a", "not allowed: the name"},
        {"UILandscape.db", "SELECT 1 AS a", "not allowed: the name"},
        {"p.json", "SELECT * FROM pragma_database_list", "not allowed: "},
        {"c.json", "SELECT no FROM Services", "no such column: no"},
        {"t.json",
         "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT count(*) AS n "
         "FROM c",
         "stopped: the time limit"},
    };
    const std::string folder = m_folder.File("json");
    for (const auto& testCase : kCases) {
        m_rules.SetRulesExport({});
        const std::shared_ptr<IRule> rule = m_rules.AddGuardedExportRule(milliseconds(300));
        rule->output = testCase.output;
        rule->body = testCase.body;
        const bool written = m_rules.ExecuteExport(_bstr_t(m_folder.File("page").c_str()), 0, 0, 0,
                                                   _bstr_t(folder.c_str()));
        EXPECT_EQ(written, *testCase.failure == '\0') << testCase.output;
        EXPECT_TRUE(std::string(rule->reserved.GetString()).starts_with(testCase.failure))
            << testCase.output << ": " << rule->reserved.GetString();
        EXPECT_EQ(std::filesystem::exists(folder + "/" + testCase.output), written)
            << testCase.output;
    }
    EXPECT_EQ(CDBProcessor::GetFile(_bstr_t((folder + "/s.json").c_str())),
              _bstr_t("[{\"uuid\":\"s1\",\"file_id\":\"0\"},{\"uuid\":\"s2\",\"file_id\":\"0\"}]"));
}

TEST_F(CGuardedRuleTest, ExportsTakeColumnsOfAnyNameAndNumber) {
    const std::string endless = "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) ";
    std::string many = "SELECT 0 AS c0";
    std::string manyExpected = "[{\"c0\":0";
    for (int column = 1; column < 130; ++column) {
        many += ", " + std::to_string(column) + " AS c" + std::to_string(column);
        manyExpected += ",\"c" + std::to_string(column) + "\":" + std::to_string(column);
    }
    const struct {
        std::string body;
        std::string expected; ///< empty: it fails
    } kCases[] = {
        // Takes all of its own time, and none of the others', which wait for it.
        {endless + "SELECT count(*) FROM c", ""},
        {"SELECT 9e999 AS infinite", ""},
        {"SELECT count(*) FROM Services", R"x([{"count(*)":2}])x"},
        {R"(SELECT 1 AS "order", 2 AS "it's", 3 AS "a ""b""", 4 AS "")",
         R"([{"order":1,"it's":2,"a \"b\"":3,"":4}])"},
        {many, manyExpected + "}]"},
    };
    const std::string folder = m_folder.File("json");
    std::vector<std::shared_ptr<IRule>> rules;
    for (const auto& testCase : kCases) {
        rules.push_back(m_rules.AddGuardedExportRule(milliseconds(1000)));
        rules.back()->output = (std::to_string(rules.size()) + ".json").c_str();
        rules.back()->body = testCase.body.c_str();
    }
    m_rules.ExecuteExport(_bstr_t(m_folder.File("page").c_str()), 0, 0, 0, _bstr_t(folder.c_str()));
    for (std::size_t index = 0; index < rules.size(); ++index) {
        EXPECT_EQ(rules[index]->reserved.IsEmpty(), !kCases[index].expected.empty())
            << kCases[index].body << ": " << rules[index]->reserved.GetString();
        if (!kCases[index].expected.empty()) {
            const std::string file = folder + "/" + rules[index]->output.GetString();
            EXPECT_EQ(CDBProcessor::GetFile(_bstr_t(file.c_str())),
                      _bstr_t(kCases[index].expected.c_str()));
        }
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
