// SPDX-License-Identifier: Apache-2.0
#include "processor_fixture.h"

#include <naxfewxmldb/xsd_to_ddl_mapper.h>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

class CDBCommitTest : public CProcessorTest {
protected:
    static Rows Tables(CDBProcessor& processor) {
        return NamesOf(*processor.GetDatabase(), "table");
    }
};

TEST_F(CDBCommitTest, RenamesTheTablesInEitherMode) {
    const Rows plural = {"Configuration", "Files",          "Items",     "LDAPS",      "Landscape",
                         "Memos",         "Messageservers", "Nodes",     "Parameters", "Routers",
                         "Services",      "Webdispatchers", "Workspaces"};
    for (const DBMode mode : {Normal, Transactional}) {
        const auto processor = NewDatabase(mode);
        EXPECT_EQ(mode == Normal ? 13U : 0U, Tables(*processor).size())
            << "queued until the commit";
        EXPECT_TRUE(Run(*processor, Commit)) << processor->GetLastDBError();
        EXPECT_EQ(plural, Tables(*processor));
        EXPECT_EQ(Normal, processor->GetMode());
        EXPECT_FALSE(processor->GetDatabase()->IsTransactionStarted());
        EXPECT_EQ("", processor->GetLastDBError());
    }
}

TEST_F(CDBCommitTest, StopsAtTheFirstMissingTableAndStillSucceeds) {
    const auto processor = NewDatabase(Normal);
    ASSERT_TRUE(
        processor->DB_ExecuteQuery("DROP TABLE Messageserver; CREATE TABLE Nodes (kept);"
                                   "CREATE TABLE Messageservers (old)"));
    EXPECT_TRUE(Run(*processor, Commit));
    EXPECT_EQ((Rows{"Configuration", "Files", "Items", "LDAPS", "Landscape", "Memos", "Node",
                    "Nodes", "Parameter", "Router", "Service", "Webdispatcher", "Workspace"}),
              Tables(*processor));
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 257,
                        "Failed execute query : DROP TABLE IF EXISTS Messageservers;\n"
                        "ALTER TABLE Messageserver RENAME TO Messageservers",
                        "no such table: Messageserver"),
              processor->GetLastDBError());
    EXPECT_FALSE(processor->Process(AddLinkTable, SLinkTableProperties("L", "a", "b", "", "")));
}

TEST_F(CDBCommitTest, ReplacesEarlierPluralTablesAndDropsAllViews) {
    const auto processor = NewDatabase(Normal);
    ASSERT_TRUE(processor->DB_ExecuteQuery(
        "CREATE TABLE Services (old); INSERT INTO Service (uuid) VALUES ('new');"
        "CREATE VIEW first AS SELECT * FROM Service; CREATE VIEW second AS SELECT * FROM first;"
        "CREATE VIEW third AS SELECT * FROM missing"));
    EXPECT_TRUE(Run(*processor, Commit));
    EXPECT_EQ("", processor->GetLastDBError());
    EXPECT_EQ(Rows{"new"}, Query(*processor, "SELECT uuid FROM Services"));
    EXPECT_EQ(Rows{}, NamesOf(*processor->GetDatabase(), "view"));
}

TEST_F(CDBCommitTest, FailingStatementKeepsQueueAndTransaction) {
    auto processor = NewDatabase(Transactional);
    const std::string good = RecordOf(*processor, "Router", {{"uuid", "'u1'"}});
    EXPECT_TRUE(Run(*processor, AddRouter, good));
    EXPECT_TRUE(Run(*processor, AddRouter, "{f_data:broken,"));
    EXPECT_TRUE(Run(*processor, AddRouter, good));
    EXPECT_FALSE(Run(*processor, Commit));
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 257,
                        "Failed execute query : INSERT INTO Router (description,name,router,uuid,"
                        "file_id) VALUES ('','','','',broken)",
                        "no such column: broken"),
              processor->GetLastDBError());
    EXPECT_EQ(Transactional, processor->GetMode());
    EXPECT_TRUE(processor->GetDatabase()->IsTransactionStarted());
    EXPECT_EQ(Rows{"u1"}, Query(*processor, "SELECT uuid FROM Router")) << "what ran before stays";

    EXPECT_FALSE(Run(*processor, Commit)) << "the transaction is still open";
    ASSERT_TRUE(processor->DB_ExecuteQuery("ROLLBACK"));
    EXPECT_FALSE(Run(*processor, Commit)) << "the queue still holds the broken statement";
    EXPECT_NE(std::string::npos, processor->GetLastDBError().find("no such column: broken"));
    processor->UnInitialize();

    const auto again = NewProcessor(Normal);
    ASSERT_TRUE(Run(*again, openDB));
    EXPECT_EQ(Rows{"u1"}, Query(*again, "SELECT uuid FROM Router"))
        << "the open transaction is committed at the end";
}

TEST_F(CDBCommitTest, QueueRunsOnceAndInOrder) {
    const auto processor = NewDatabase(Transactional);
    for (const char* name : {"'a'", "'b'", "'c'", "upper('d')", "'e'"}) {
        EXPECT_TRUE(Run(*processor, AddRouter, RecordOf(*processor, "Router", {{"name", name}})));
    }
    EXPECT_TRUE(Run(*processor, Commit));
    const Rows expected = {"1|a", "2|b", "3|c", "4|D", "5|e"};
    EXPECT_EQ(expected, Query(*processor, "SELECT Router_id, name FROM Routers"));
    EXPECT_TRUE(Run(*processor, Commit)) << "now in normal mode: nothing is left to run";
    EXPECT_EQ(expected, Query(*processor, "SELECT Router_id, name FROM Routers"));
}

TEST_F(CDBCommitTest, WithoutDatabaseTheTransactionCannotBegin) {
    const auto processor = NewProcessor(Transactional);
    EXPECT_FALSE(Run(*processor, Commit));
    EXPECT_EQ(Transactional, processor->GetMode());
    EXPECT_TRUE(processor->Process(AddLinkTable, SLinkTableProperties("L", "a", "b", "", "")))
        << "nothing was mapped";
}

TEST_F(CDBCommitTest, CommitThatSQLiteRefusesIsReportedAndEndsTheQueue) {
    const auto processor = NewDatabase(Transactional);
    // A deferred reference is looked at when the transaction ends.
    ASSERT_TRUE(processor->DB_ExecuteQuery(
        "PRAGMA foreign_keys = ON; CREATE TABLE parent (id TEXT PRIMARY KEY); CREATE TABLE child "
        "(a TEXT, b TEXT, FOREIGN KEY (a) REFERENCES parent (id) DEFERRABLE INITIALLY DEFERRED)"));
    EXPECT_TRUE(processor->Process(AddLinkTalbeRecord,
                                   SLinkTableProperties("child", "a", "b", "nobody", "x")));
    EXPECT_FALSE(Run(*processor, Commit));
    EXPECT_EQ(Normal, processor->GetMode());
    EXPECT_TRUE(processor->GetDatabase()->IsTransactionStarted());
    EXPECT_FALSE(processor->Process(AddLinkTable, SLinkTableProperties("L", "a", "b", "", "")));
    ASSERT_TRUE(processor->GetDatabase()->Rollback());
}

TEST_F(CDBCommitTest, CreationAfterACommitAllowsLinksAgain) {
    const auto processor = NewDatabase(Normal);
    EXPECT_TRUE(Run(*processor, Commit));
    processor->GetDatabase()->Close();
    EXPECT_TRUE(Run(*processor, createDB));
    EXPECT_EQ(13U, Tables(*processor).size());
    EXPECT_EQ(26U, processor->GetMapper()->GetDDL().size()) << "appended to those before";
    EXPECT_TRUE(processor->Process(AddLinkTable, SLinkTableProperties("L", "a", "b", "", "")));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
