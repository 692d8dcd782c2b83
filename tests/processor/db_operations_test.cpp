// SPDX-License-Identifier: Apache-2.0
#include "processor/error_blocks.h"
#include "processor_fixture.h"

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

class CDBOperationsTest : public CProcessorTest {
protected:
    static constexpr char kQuery[] = "SELECT Id, Name FROM ResultID ORDER BY rowid";
};

TEST_F(CDBOperationsTest, ResultIdsStandInTheirOrderHoweverOftenCreated) {
    const auto processor = NewProcessor(Normal);
    ASSERT_TRUE(Run(*processor, openDB));
    const Rows expected = {"0|Validation failed",
                           "1|Validation passed",
                           "5|Validation warning",
                           "6|Validation info",
                           "2|Runtime error",
                           "3|Validation against XSD failed",
                           "4|Validation against XSD passed"};
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(Run(*processor, CreateResultIdTable));
        EXPECT_EQ(expected, Query(*processor, kQuery));
    }
    EXPECT_EQ(Rows{"text"}, Query(*processor, "SELECT DISTINCT typeof(Id) FROM ResultID"));
}

TEST_F(CDBOperationsTest, ResultAndRuleTablesAreMadeAnewInEitherMode) {
    const struct {
        DBOperations operation;
        const char* table;
        const char* statement;
    } cases[] = {
        {CreateResultsTable, "ValidationResults",
         "CREATE TABLE \"ValidationResults\" (\"pk\"\tINTEGER, \"RuleId\"\tTEXT, \"Name\" TEXT, "
         "\"Type\" TEXT, \"Msg\" TEXT, \"Lang\"TEXT, \"Body\" TEXT, \"ResultDescription\"\tTEXT, "
         "\"ResultId\"\tTEXT, \"UUID\" TEXT, \"file_id\" TEXT, \"RunTimeErrorTrace\"\tTEXT,  "
         "PRIMARY KEY(\"pk\"))"},
        {CreateRulesTable, "Rules",
         "CREATE TABLE \"Rules\" (\"pk\"\tINTEGER, \"RuleId\"\tTEXT, \"Name\" TEXT, \"Type\" TEXT, "
         "\"Msg\" TEXT, \"Params\"TEXT, \"Lang\"TEXT, \"Body\" TEXT, \"Solution\" TEXT, PRIMARY "
         "KEY(\"pk\"))"},
        {CreateResultIdTable, "ResultID",
         "CREATE TABLE \"ResultID\" (\"Id\" TEXT, \"Name\" TEXT, PRIMARY KEY(\"Id\"))"},
    };
    for (const DBMode mode : {Normal, Transactional}) {
        const auto processor = NewDatabase(mode);
        for (const auto& item : cases) {
            const std::string table = item.table;
            const std::string old = "CREATE TABLE " + table + " (old); INSERT INTO " + table +
                                    " VALUES (1); CREATE TABLE other" + table + "(a)";
            ASSERT_TRUE(processor->DB_ExecuteQuery(old.c_str()));
            EXPECT_TRUE(Run(*processor, item.operation)) << table;
            EXPECT_EQ(
                Rows{item.statement},
                Query(*processor, "SELECT sql FROM sqlite_master WHERE name = '" + table + "'"));
            EXPECT_EQ(item.operation == CreateResultIdTable ? "7" : "0",
                      Query(*processor, "SELECT count(*) FROM " + table).at(0));
        }
    }
}

TEST_F(CDBOperationsTest, FixedTablesReportAnyFailedStatement) {
    const auto processor = NewProcessor(Normal);
    ASSERT_TRUE(Run(*processor, openDB));
    ASSERT_TRUE(processor->DB_ExecuteQuery(
        "CREATE VIEW ValidationResults AS SELECT 1 AS a; CREATE VIEW ResultID AS SELECT 1 AS a;"
        "CREATE VIEW Rules AS SELECT 1 AS a"));
    EXPECT_FALSE(Run(*processor, CreateResultsTable));
    // The last failure is that of the last statement: the failing ones before did not stop it.
    EXPECT_EQ(
        ErrorText("DB_ExecuteQuery", 257, "Failed execute query : DELETE FROM ValidationResults",
                  "cannot modify ValidationResults because it is a view"),
        processor->GetLastDBError());
    EXPECT_FALSE(Run(*processor, CreateRulesTable));
    EXPECT_FALSE(Run(*processor, CreateResultIdTable));
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 257,
                        "Failed execute query : DROP TABLE IF EXISTS ResultID; CREATE TABLE IF NOT "
                        "EXISTS \"ResultID\" (\"Id\" TEXT, \"Name\" TEXT, PRIMARY KEY(\"Id\"))",
                        "use DROP VIEW to delete view ResultID"),
              processor->GetLastDBError());
}

TEST_F(CDBOperationsTest, OtherOperationsDoNothingAndLeaveNoError) {
    const auto processor = NewDatabase(Normal);
    const SLinkTableProperties link("Links", "a", "b", "1", "2");
    const Rows before = NamesOf(*processor->GetDatabase(), "table");
    for (const int code : {12, 13, 18, -1, 1000}) {
        EXPECT_FALSE(Run(*processor, static_cast<DBOperations>(code), "Links")) << code;
    }
    for (const int code : {0, 1, 2, 11, 14, 15, 16, 17, 18, -1}) {
        EXPECT_FALSE(processor->Process(static_cast<DBOperations>(code), link)) << code;
    }
    EXPECT_EQ("", processor->GetLastDBError());
    EXPECT_EQ(before, NamesOf(*processor->GetDatabase(), "table"));
}

TEST_F(CDBOperationsTest, LinkTablesTakeTheirRowsUntilTheCommit) {
    for (const DBMode mode : {Normal, Transactional}) {
        const auto processor = NewDatabase(mode);
        const SLinkTableProperties link("Service Links", "service", "item", "it's; a", "ä;'");
        EXPECT_TRUE(processor->Process(AddLinkTable, link));
        EXPECT_TRUE(processor->Process(AddLinkTalbeRecord, link));
        EXPECT_TRUE(processor->Process(AddLinkTalbeRecord, link));
        EXPECT_TRUE(processor->Process(
            AddLinkTalbeRecord,
            SLinkTableProperties("Service Links", "item", "service", _bstr_t(), "service")));
        EXPECT_TRUE(Run(*processor, Commit)) << processor->GetLastDBError();
        EXPECT_EQ((Rows{"1|it's; a|ä;'", "2|it's; a|ä;'", "3|service|"}),
                  Query(*processor, "SELECT link_id, service, item FROM \"Service Links\""));
        EXPECT_EQ(Rows{"CREATE TABLE \"Service Links\" ( \"link_id\" INTEGER, \"service\" TEXT, "
                       "\"item\" TEXT, PRIMARY KEY(\"link_id\"))"},
                  Query(*processor, "SELECT sql FROM sqlite_master WHERE name = 'Service Links'"));

        for (const DBOperations operation : {AddLinkTable, AddLinkTalbeRecord}) {
            EXPECT_FALSE(
                processor->Process(operation, SLinkTableProperties("Late", "a", "b", "1", "2")));
            EXPECT_EQ(ErrorText("Process", 451, "Data mapping already done", "not an error"),
                      processor->GetLastDBError());
        }
        EXPECT_EQ(Rows{}, Query(*processor, "SELECT 1 FROM sqlite_master WHERE name = 'Late'"));
    }
}

TEST_F(CDBOperationsTest, SecondLinkTableOfANameFails) {
    const auto processor = NewDatabase(Normal);
    const SLinkTableProperties link("Links", "a", "b", _bstr_t(), _bstr_t());
    EXPECT_TRUE(processor->Process(AddLinkTable, link));
    EXPECT_FALSE(processor->Process(AddLinkTable, link));
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 257,
                        "Failed execute query : CREATE TABLE \"Links\" ( \"link_id\" INTEGER, "
                        "\"a\" TEXT, \"b\" TEXT, PRIMARY KEY(\"link_id\"))",
                        "table \"Links\" already exists"),
              processor->GetLastDBError());
    EXPECT_FALSE(processor->Process(AddLinkTalbeRecord,
                                    SLinkTableProperties("Missing", "a", "b", "1", "2")));
}

TEST_F(CDBOperationsTest, LinkPropertiesAreAValue) {
    SLinkTableProperties link("t", "a", "b", "1", "2");
    const SLinkTableProperties copy = link;
    SLinkTableProperties target = std::move(link);
    EXPECT_STREQ(L"t", target.tableName);
    target = copy;
    target.secondValue = "3";
    EXPECT_STREQ(L"2", copy.secondValue);
    EXPECT_STREQ(L"a", target.firstColumn);
    EXPECT_STREQ(L"b", target.secondColumn);
    EXPECT_STREQ(L"1", target.firstValue);
}

TEST_F(CDBOperationsTest, QueriesReportTheirOwnBlock) {
    const auto processor = NewDatabase(Normal);
    std::shared_ptr<IRecordset> rows;
    EXPECT_TRUE(processor->DB_ExecuteQuery("SELECT 41 + 1", rows));
    ASSERT_NE(nullptr, rows);
    EXPECT_TRUE(rows->MoveNext());
    EXPECT_EQ(42, rows->GetInt(0));
    EXPECT_FALSE(processor->DB_ExecuteQuery("SELECT * FROM missing", rows));
    EXPECT_EQ(nullptr, rows);
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 276, "Failed execute query : SELECT * FROM missing",
                        "no such table: missing"),
              processor->GetLastDBError());
    EXPECT_TRUE(processor->DB_ExecuteQuery(""));
    EXPECT_TRUE(processor->DB_ExecuteQuery("CREATE TABLE a (b); INSERT INTO a VALUES (1)"));
    EXPECT_NE("", processor->GetLastDBError()) << "success keeps the last error";
    EXPECT_STREQ(
        "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CDBProcessor::DB_Clenup\n"
        "File: db_processor, Line: 203\n",
        kCleanupError);
}

TEST_F(CDBOperationsTest, UpdateStrRemovesSingleQuotes) {
    const auto processor = NewProcessor(Normal);
    EXPECT_STREQ("its \"x\" ", processor->UpdateStr("'it''s \"x\" '"));
    EXPECT_STREQ("plain", processor->UpdateStr("plain"));
    EXPECT_STREQ("", processor->UpdateStr(""));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
