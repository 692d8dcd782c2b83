// SPDX-License-Identifier: Apache-2.0
// The built-in rules over small hand-made rows. Each case asks one rule only; what other rules say
// about the same rows is their own case's matter.
#include "processor_fixture.h"

#include <naxfewxmldb/rules_processor.h>
#include <algorithm>
#include <set>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

constexpr const char* kTables[] = {"Services", "Messageservers", "Routers",        "Items",
                                   "Nodes",    "Workspaces",     "Webdispatchers", "LDAPS"};

class CRuleCatalogueTest : public CProcessorTest {
protected:
    CRuleCatalogueTest() : m_processor(NewLandscape()), m_rules(m_processor, _bstr_t()) {
        EXPECT_TRUE(Run(*m_processor, CreateRulesTable));
        EXPECT_TRUE(m_rules.LoadRules(m_folder.File("ignored.xml").c_str()));
    }

    /// Runs one rule over these rows alone: "uuid|file|result code|description" per finding.
    Rows Findings(int ruleId, const std::string& inserts) {
        for (const char* table : kTables) {
            EXPECT_TRUE(
                m_processor->DB_ExecuteQuery((std::string("DELETE FROM ") + table).c_str()));
        }
        EXPECT_TRUE(m_processor->DB_ExecuteQuery("DELETE FROM ValidationResults"));
        EXPECT_TRUE(m_processor->DB_ExecuteQuery(inserts.c_str())) << m_processor->GetLastDBError();
        const auto rule = m_rules.GetRules().at(static_cast<std::size_t>(ruleId));
        EXPECT_TRUE(rule->Run());
        rule->PostRun();
        return Query(*m_processor,
                     "SELECT UUID, file_id, ResultId, ResultDescription FROM ValidationResults "
                     "WHERE ResultId <> '1' ORDER BY UUID, file_id, ResultDescription");
    }

    std::shared_ptr<CDBProcessor> m_processor;
    CRulesProcessor m_rules;
};

TEST_F(CRuleCatalogueTest, HasItsTextsInOrder) {
    std::string texts;
    std::set<std::string> links;
    for (const std::shared_ptr<IRule>& rule : m_rules.GetRules()) {
        texts += std::string(rule->id) + "|" + rule->type.GetString() + "|" +
                 rule->name.GetString() + "|" + rule->msg.GetString() + "\n";
        EXPECT_STREQ("", rule->params) << rule->id;
        EXPECT_STREQ("sql", rule->lang) << rule->id;
        EXPECT_EQ(0, rule->body.Find("INSERT into ValidationResults (Ruleid, ResultDescription, "
                                     "uuid, file_id)"))
            << rule->id;
        EXPECT_EQ(rule->body.GetLength() - 1, rule->body.Find(";")) << rule->id;
        links.insert(rule->solution.GetString());
    }
    EXPECT_EQ(ReadAll(std::string(TEST_DATA_DIR) + "/catalogue.txt"), texts);
    EXPECT_EQ(std::set<std::string>{"LandscapeValidationRules.htm"}, links);
    EXPECT_EQ(Rows{"33"}, Query(*m_processor, "SELECT count(*) FROM Rules"));
}

TEST_F(CRuleCatalogueTest, EmptyLandscapePassesEveryRule) {
    EXPECT_TRUE(m_rules.Execute());
    EXPECT_EQ(Rows{"33|33|1|Validation passed"},
              Query(*m_processor,
                    "SELECT count(*), count(DISTINCT RuleId), max(ResultId), "
                    "max(ResultDescription) FROM ValidationResults"));
}

TEST_F(CRuleCatalogueTest, ReferencesMustNameAnEntry) {
    const struct {
        int rule;
        const char* inserts;
        Rows findings;
    } cases[] = {
        {0,
         "INSERT INTO Services (uuid, routerid, file_id) VALUES ('s1','r1',0), ('s2','r9',1), "
         "('s3','',0), ('s4',NULL,0); INSERT INTO Routers (uuid) VALUES ('r1'), (NULL), ('')",
         {"s2|1|5|The service: s2 references to non-existing router: r9"}},
        {0,
         "INSERT INTO Services (uuid, routerid, file_id) VALUES (NULL,'r9',0)",
         {"<null>|0|5|The service:  references to non-existing router: r9"}},
        {16,
         "INSERT INTO Services (uuid, msid, file_id) VALUES ('s1','m1',0), ('s2','m9',1), "
         "('s3','',0), ('s4',NULL,0); INSERT INTO Messageservers (uuid) VALUES ('m1'), (NULL)",
         {"s2|1|5|The service with UUID: s2 references to non-existing message server with UUID: "
          "m9"}},
        {17,
         "INSERT INTO Services (uuid, msid, uses_webdispatcher, file_id) VALUES ('s1','m1','1',0), "
         "('s2','w1','1',1), ('s3','m9','0',0), ('s4','m9',NULL,0), ('s5','','1',0); INSERT INTO "
         "Webdispatchers (uuid, msid) VALUES ('w1','m1'), ('w2',NULL), ('w3','')",
         {"s2|1|5|The service: s2 references to non-existing web dispatcher by this msid "
          "attribute: w1",
          "s5|0|5|The service: s5 references to non-existing web dispatcher by this msid "
          "attribute: "}},
        {18,
         "INSERT INTO Webdispatchers (uuid, msid, file_id) VALUES ('w1','m1',0), ('w2','m9',1), "
         "('w3','',0), ('w4',NULL,0); INSERT INTO Messageservers (uuid) VALUES ('m1'), (NULL)",
         {"w2|1|5|The Web dispatcher with UUID: w2 references to non-existing message server by "
          "msid attribute: m9"}},
        {31,
         "INSERT INTO Services (uuid, shortcut, link, file_id) VALUES ('s1','1','s2',0), "
         "('s2','1','s9',1), ('s3','0','s9',0), ('s4','1','',0), ('s5','1',NULL,0), "
         "(NULL,'','x',0), ('','','',0)",
         {"s2|1|5|The shortcut s2 has no valid reference to any service"}},
        {32,
         "INSERT INTO Services (uuid, shortcut, link, file_id) VALUES ('s1','0','s2',0), "
         "('s2','0','s9',1), ('s3','1','s9',0), ('s4','0','',0), ('s5',NULL,'s9',0)",
         {"s2|1|5|The shortcut s2 has no valid reference to any service"}},
        {30,
         "INSERT INTO Services (uuid, file_id) VALUES ('s1',0), ('s2',1), ('',2), (NULL,3); "
         "INSERT INTO Items (serviceid) VALUES ('s1'), (''), (NULL)",
         {"<null>|3|6|The service  has no valid reference to any item",
          "|2|6|The service  has no valid reference to any item",
          "s2|1|6|The service s2 has no valid reference to any item"}},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.findings, Findings(item.rule, item.inserts)) << item.inserts;
    }
}

TEST_F(CRuleCatalogueTest, EntriesNeedAParent) {
    const std::string parents =
        "INSERT INTO Workspaces (uuid) VALUES ('w1'), (NULL), (''); INSERT INTO Nodes (uuid, "
        "parent_id, file_id) VALUES ('n1','w1',0), ('n2','n1',0), ('n3','x',1), ('n4',NULL,2), "
        "('n5','',3); INSERT INTO Items (uuid, parent_id, file_id) VALUES ('i1','w1',0), "
        "('i2','n5',0), ('i3','x',1), ('i4',NULL,2), ('i5','',3)";
    EXPECT_EQ((Rows{"i3|1|5|The item i3 has an incorrect reference to a non-valid parent entry: x",
                    "i5|3|5|The item i5 has an incorrect reference to a non-valid parent entry: "}),
              Findings(15, parents));
    EXPECT_EQ((Rows{"n3|1|5|The node n3 has an incorrect reference to a non-valid parent entry: x",
                    "n4|2|5|The node n4 has an incorrect reference to a non-valid parent entry: ",
                    "n5|3|5|The node n5 has an incorrect reference to a non-valid parent entry: "}),
              Findings(29, parents));
    EXPECT_EQ(Rows{}, Findings(15, "INSERT INTO Items (uuid, parent_id) VALUES ('i', NULL)"));
}

TEST_F(CRuleCatalogueTest, ValuesMustBeAllowed) {
    const std::string message =
        "You have specified a service entry, UUID s with an invalid value: ";
    const std::string insert = "INSERT INTO Services (uuid, file_id, sncop) VALUES ('s', 0, ";
    for (const char* value : {"'0'", "'1'", "'2'", "'3'", "'9'", "'-1'", "NULL"}) {
        EXPECT_EQ(Rows{}, Findings(1, insert + value + ")")) << value;
    }
    for (const std::string value : {"4", "10", "-2", "--1", "x", ""}) {
        EXPECT_EQ(Rows{"s|0|5|" + message + value}, Findings(1, insert + "'" + value + "')"));
    }
    EXPECT_EQ((Rows{"|0|6|The Service UUID  referenced more than once",
                    "a|0|6|The Service UUID a referenced more than once"}),
              Findings(2,
                       "INSERT INTO Items (uuid, serviceid, file_id) VALUES ('1','a',0), "
                       "('2','a',1), ('3','b',0), ('4','',0), ('5','',0), ('6',NULL,0), "
                       "('7',NULL,0), ('8','a',0)"));
}

TEST_F(CRuleCatalogueTest, UuidsHaveTheirFormat) {
    const struct {
        int rule;
        const char* table;
        const char* repository;
    } cases[] = {{10, "Messageservers", "MessageServers"},
                 {11, "Routers", "Routers"},
                 {12, "Services", "Services"},
                 {13, "Nodes", "Nodes"},
                 {14, "Items", "Items"}};
    for (const auto& item : cases) {
        const std::string insert =
            std::string("INSERT INTO ") + item.table + " (uuid, file_id) VALUES ";
        for (const char* good : {"'00000000-0000-0000-0000-000000000000'",
                                 "'ABCDEFAB-cdef-0123-4567-89abcdefABCD'", "NULL"}) {
            EXPECT_EQ(Rows{}, Findings(item.rule, insert + "(" + good + ",0)")) << good;
        }
        for (const std::string bad :
             {"", "x", "{00000000-0000-0000-0000-000000000000}", "00000000000000000000000000000000",
              "00000000-0000-0000-0000-00000000000", "00000000-0000-0000-0000-0000000000000",
              "0000000g-0000-0000-0000-000000000000", "000000000-000-0000-0000-000000000000"}) {
            EXPECT_EQ(Rows{bad + "|3|5|The UUID " + bad + " in the " + item.repository +
                           " repository does not conform to the expected UUID format"},
                      Findings(item.rule, insert + "('" + bad + "',3)"));
        }
    }
}

TEST_F(CRuleCatalogueTest, UuidsAreUniqueWithinARepository) {
    const struct {
        int rule;
        const char* table;
        const char* repository;
        const char* nameText;
        int code;
    } cases[] = {
        {5, "Routers", "Routers", "", 5},
        {6, "Services", "Services", ". Service name is ", 5},
        {7, "Nodes", "Nodes", ". Node name is ", 5},
        {8, "Items", "Items", "", 0},
        {9, "Workspaces", "Workspaces", ". Workspace name is ", 0},
        {27, "Webdispatchers", "WebDispatchers", ". Web Dispatcher name is ", 0},
        {28, "LDAPS", "LDAPS", ". LDAP name is ", 0},
    };
    for (const auto& item : cases) {
        const bool named = item.nameText[0] != '\0';
        const std::string nameColumn = item.rule == 8 ? "hidden" : "name";
        const auto finding = [&](const std::string& uuid, int file, const std::string& name) {
            return uuid + "|" + std::to_string(file) + "|" + std::to_string(item.code) +
                   "|The UUID " + uuid + " has been employed redundantly within the " +
                   item.repository + " repository" + item.nameText + (named ? name : "");
        };
        EXPECT_EQ(
            (Rows{finding("", 5, "z"), finding("a", 0, "x"), finding("a", 1, "y")}),
            Findings(item.rule,
                     std::string("INSERT INTO ") + item.table + " (uuid, file_id, " + nameColumn +
                         ") VALUES ('a',0,'x'), ('a',1,'y'), ('a',0,'x'), ('b',0,'x'), "
                         "('A',0,'x'), (NULL,0,'x'), (NULL,0,'x'), ('',5,'z'), ('',5,'z')"))
            << item.table;
    }
}

TEST_F(CRuleCatalogueTest, MessageServerCopiesAreToldApart) {
    const std::string rows =
        "INSERT INTO Messageservers (uuid, name, host, file_id) VALUES ('same','n','h',0), "
        "('same','n','h',1), ('host','n','h1',0), ('host','n','h2',0), ('name','n1','h',0), "
        "('name','n2','h',0), ('null','n',NULL,0), ('null','n','h',0), ('nulls','n',NULL,0), "
        "('nulls','n',NULL,0), ('empty','n','',0), ('empty','n',NULL,0), ('once','n','h',0)";
    const auto finding = [](const std::string& uuid, const std::string& file,
                            const std::string& name, const std::string& host, bool differing) {
        return uuid + "|" + file + (differing ? "|5" : "|6") + "|The UUID " + uuid +
               " has been employed redundantly within the MessageServers repository. The entity "
               "is identified by the name " +
               name + ", and its host corresponds to " + host + (differing ? ". " : "");
    };
    EXPECT_EQ((Rows{finding("host", "0", "n", "h1", true), finding("host", "0", "n", "h2", true),
                    finding("name", "0", "n1", "h", true), finding("name", "0", "n2", "h", true),
                    finding("null", "0", "n", "", true), finding("null", "0", "n", "h", true)}),
              Findings(3, rows));
    EXPECT_EQ((Rows{finding("empty", "0", "n", "", false), finding("nulls", "0", "n", "", false),
                    finding("same", "0", "n", "h", false), finding("same", "1", "n", "h", false)}),
              Findings(4, rows));
}

TEST_F(CRuleCatalogueTest, UuidsAreUniqueAcrossRepositories) {
    const char* const names[] = {"Service", "Message Server", "Router",        "Item",
                                 "Node",    "Workspace",      "Webdispatcher", "LDAP"};
    const int rules[] = {19, 20, 21, 22, 25, 23, 24, 26};
    std::string everywhere;
    for (const char* table : kTables) {
        everywhere += std::string("INSERT INTO ") + table +
                      " (uuid, file_id) VALUES ('u',4), ('u',4), (NULL,4), ('" + table + "',4);";
    }
    for (std::size_t own = 0; own < std::size(kTables); ++own) {
        Rows expected;
        for (const char* other : kTables) {
            if (other != kTables[own]) {
                const bool spaced = std::string(other) == "Messageservers";
                expected.push_back(std::string("u|4|0|The ") + names[own] +
                                   " UUID u has been employed redundantly. The same UUID is used "
                                   "in the " +
                                   (spaced ? "Message Servers" : other) + " repository ");
            }
        }
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, Findings(rules[own], everywhere)) << kTables[own];
        EXPECT_EQ(Rows{}, Findings(rules[own], std::string("INSERT INTO ") + kTables[own] +
                                                   " (uuid) VALUES ('u'), ('u'), (NULL)"));
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
