// SPDX-License-Identifier: Apache-2.0
#include "database/sqlite_database.h"

#include "database_rows.h"
#include "scratch.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <cstdlib>

namespace Nax::FrontEnd::XMLDB {

// GetLastError replaces the kept text by the connection's own, so the texts that the operations
// write are read where they are kept.
CStringA& LastErrorOf(CSQLiteDatabase& database);
sqlite3* ConnectionOf(CSQLiteDatabase& database);
template <CStringA CSQLiteDatabase::*LastError, sqlite3* CSQLiteDatabase::*Connection>
struct SMemberAccess {
    friend CStringA& LastErrorOf(CSQLiteDatabase& database) { return database.*LastError; }
    friend sqlite3* ConnectionOf(CSQLiteDatabase& database) { return database.*Connection; }
};
template struct SMemberAccess<&CSQLiteDatabase::m_lastError, &CSQLiteDatabase::m_connection>;

namespace {

using Testing::Rows;
using Testing::RowsOf;

class CSQLiteDatabaseTest : public ::testing::Test {
protected:
    CSQLiteDatabaseTest() { EXPECT_TRUE(m_database.Open(File("a.db").c_str(), "", "")); }
    ~CSQLiteDatabaseTest() override {
        m_query.reset();
        m_database.Close();
    }

    std::string File(const std::string& name) const { return m_folder.File(name); }
    std::string LastError() { return LastErrorOf(m_database).GetString(); }
    IRecordset& Prepare(const char* sql) {
        EXPECT_TRUE(m_database.ExecuteQuery(sql, m_query)) << LastError();
        return *m_query;
    }

    CScratchFolder m_folder;
    CSQLiteDatabase m_database;
    std::shared_ptr<IRecordset> m_query;
};

TEST_F(CSQLiteDatabaseTest, ClosedConnectionFailsWithItsTexts) {
    CSQLiteDatabase closed;
    EXPECT_FALSE(closed.IsConnected());
    EXPECT_FALSE(closed.Close());
    EXPECT_FALSE(closed.Execute("SELECT 1"));
    EXPECT_STREQ("", LastErrorOf(closed));
    EXPECT_FALSE(closed.InsertBlob("INSERT INTO t VALUES (?)", "x", 1));

    Prepare("SELECT 1");
    IRecordset* const before = m_query.get();
    const struct {
        const char* operation;
        bool (*run)(CSQLiteDatabase&, std::shared_ptr<IRecordset>&);
    } cases[] = {
        {"query", [](auto& db, auto& query) { return db.ExecuteQuery("SELECT 1", query); }},
        {"begin", [](auto& db, auto&) { return db.BeginTransaction(); }},
        {"commit", [](auto& db, auto&) { return db.Commit(); }},
        {"rollback", [](auto& db, auto&) { return db.Rollback(); }},
    };
    for (const auto& item : cases) {
        LastErrorOf(closed) = "";
        EXPECT_FALSE(item.run(closed, m_query)) << item.operation;
        EXPECT_STREQ("Not connected to the database", LastErrorOf(closed)) << item.operation;
    }
    EXPECT_EQ(before, m_query.get()) << "left alone without a connection";
}

TEST_F(CSQLiteDatabaseTest, OpenAndCloseLeaveTheirTexts) {
    CSQLiteDatabase other;
    const std::string missing = File("no/such/folder.db");
    EXPECT_FALSE(other.Open(missing.c_str(), "", ""));
    EXPECT_EQ("Failed to open database: '" + missing + "'",
              std::string(LastErrorOf(other).GetString()));
    EXPECT_FALSE(other.IsConnected());

    ASSERT_TRUE(other.Open(File("b.db").c_str(), "", ""));
    EXPECT_EQ(Rows{"1"}, RowsOf(other, "SELECT 'abc' REGEXP 'b'"));
    EXPECT_TRUE(other.Close());
    EXPECT_STREQ("Failed to sqlite3_close. Error: '1'", LastErrorOf(other))
        << "written when closing succeeds";
    EXPECT_FALSE(other.IsConnected());
}

TEST_F(CSQLiteDatabaseTest, CloseWithAnOpenStatementFailsSilently) {
    CSQLiteDatabase other;
    ASSERT_TRUE(other.Open(File("b.db").c_str(), "", ""));
    std::shared_ptr<IRecordset> open;
    ASSERT_TRUE(other.ExecuteQuery("SELECT 1", open));
    ASSERT_TRUE(other.BeginTransaction());
    LastErrorOf(other) = "before";
    sqlite3* const connection = ConnectionOf(other);
    EXPECT_FALSE(other.Close());
    EXPECT_STREQ("before", LastErrorOf(other));
    EXPECT_FALSE(other.IsConnected()) << "given up all the same";
    EXPECT_FALSE(other.IsTransactionStarted());
    open.reset();
    EXPECT_EQ(SQLITE_OK, sqlite3_close(connection));
}

TEST_F(CSQLiteDatabaseTest, ExecuteRunsUpToTheFirstFailure) {
    LastErrorOf(m_database) = "before";
    EXPECT_TRUE(m_database.Execute("CREATE TABLE t (a); INSERT INTO t VALUES (1);"));
    EXPECT_EQ("before", LastError()) << "success keeps the text";
    EXPECT_FALSE(
        m_database.Execute("INSERT INTO t VALUES (2); nonsense; INSERT INTO t VALUES (3)"));
    EXPECT_EQ("near \"nonsense\": syntax error", LastError());
    EXPECT_EQ((Rows{"1", "2"}), RowsOf(m_database, "SELECT a FROM t"));
    EXPECT_TRUE(m_database.Execute("INSERT INTO t VALUES (\"in double quotes\")"));
    EXPECT_EQ(Rows{"in double quotes"}, RowsOf(m_database, "SELECT a FROM t WHERE a > 2"));
}

TEST_F(CSQLiteDatabaseTest, ExecuteQueryPreparesTheFirstStatementOnly) {
    Prepare("SELECT 1; nonsense");
    EXPECT_FALSE(m_database.ExecuteQuery("SELECT * FROM missing", m_query));
    EXPECT_EQ(nullptr, m_query);
    EXPECT_EQ("no such table: missing", LastError());
    EXPECT_STREQ("no such table: missing", m_database.GetLastError());

    ASSERT_TRUE(m_database.Execute("CREATE TABLE t (a)"));
    IRecordset& insert = Prepare("INSERT INTO t VALUES (1)");
    EXPECT_EQ(Rows{}, RowsOf(m_database, "SELECT a FROM t")) << "not stepped by the preparation";
    EXPECT_FALSE(insert.MoveNext());
    EXPECT_EQ(Rows{"1"}, RowsOf(m_database, "SELECT a FROM t"));
    EXPECT_FALSE(Prepare("SELECT a FROM t WHERE a = 2").MoveNext());
}

TEST_F(CSQLiteDatabaseTest, TransactionFlagIsSharedByAllConnections) {
    CSQLiteDatabase other;
    ASSERT_TRUE(other.Open(File("b.db").c_str(), "", ""));
    EXPECT_FALSE(m_database.Commit());
    EXPECT_EQ("No transaction started", LastError());
    LastErrorOf(m_database) = "";
    EXPECT_FALSE(m_database.Rollback());
    EXPECT_EQ("No transaction started", LastError());

    ASSERT_TRUE(m_database.BeginTransaction());
    EXPECT_TRUE(other.IsTransactionStarted());
    EXPECT_FALSE(other.Commit()) << "the flag is set, but the other connection began nothing";
    EXPECT_STREQ("cannot commit - no transaction is active", LastErrorOf(other));
    EXPECT_TRUE(m_database.IsTransactionStarted()) << "a failed commit keeps the flag";
    EXPECT_FALSE(m_database.BeginTransaction());
    EXPECT_FALSE(m_database.IsTransactionStarted()) << "a failed second begin clears it";
    EXPECT_FALSE(m_database.Commit());
    ASSERT_TRUE(m_database.Execute("rollback"));

    ASSERT_TRUE(m_database.BeginTransaction());
    ASSERT_TRUE(m_database.Execute("CREATE TABLE undone (a)"));
    EXPECT_TRUE(m_database.Rollback());
    EXPECT_EQ(Rows{}, Testing::NamesOf(m_database, "table"));

    ASSERT_TRUE(m_database.BeginTransaction());
    const CSQLiteDatabase third;
    EXPECT_FALSE(m_database.Commit()) << "cleared by the construction of another connection";
    EXPECT_EQ("No transaction started", LastError());
    ASSERT_TRUE(m_database.Execute("commit"));

    ASSERT_TRUE(m_database.BeginTransaction());
    EXPECT_TRUE(other.Close());
    EXPECT_FALSE(m_database.IsTransactionStarted()) << "and by closing another";
    ASSERT_TRUE(m_database.Execute("rollback"));
}

TEST_F(CSQLiteDatabaseTest, InsertBlobReportsFalseThoughTheRowIsThere) {
    ASSERT_TRUE(m_database.Execute("CREATE TABLE t (a BLOB UNIQUE)"));
    EXPECT_FALSE(m_database.InsertBlob("INSERT INTO t VALUES (?)", "\0\1x", 3));
    EXPECT_EQ(Rows{"000178"}, RowsOf(m_database, "SELECT hex(a) FROM t"));
    EXPECT_FALSE(m_database.InsertBlob("INSERT INTO t VALUES (?)", "\0\1x", 3));
    EXPECT_EQ("UNIQUE constraint failed: t.a", LastError());
    EXPECT_FALSE(m_database.InsertBlob("INSERT INTO missing VALUES (?)", "", 0));
    EXPECT_EQ("no such table: missing", LastError());
    EXPECT_FALSE(m_database.InsertBlob("DELETE FROM t", "", 0)) << "no parameter to bind";
    EXPECT_EQ(Rows{"1"}, RowsOf(m_database, "SELECT count(*) FROM t"));
}

TEST_F(CSQLiteDatabaseTest, RecordsetReadsEveryKindOfValue) {
    IRecordset& row = Prepare(
        "SELECT NULL AS Nil, 42 AS Number, 2.5 AS Real, 'tëxt' AS Name, "
        "x'00ff' AS Bytes, '' AS Empty, 7 AS NUMBER");
    ASSERT_TRUE(row.MoveNext());
    const struct {
        bool null, integer, real, textOrBlob;
        const char* text;
        int number;
        double fraction;
    } expected[] = {
        {true, false, false, false, "", 0, 0},      {false, true, false, false, "42", 42, 42},
        {false, false, true, false, "2.5", 2, 2.5}, {false, false, false, true, "tëxt", 0, 0},
        {false, false, false, true, "", 0, 0},      {false, false, false, true, "", 0, 0},
        {false, true, false, false, "7", 7, 7},     {true, false, false, false, "", 0, 0},
    };
    for (int column = 0; column < 8; ++column) {
        const auto& want = expected[column];
        EXPECT_EQ(want.null, row.IsNull(column)) << column;
        EXPECT_EQ(want.integer, row.IsInteger(column)) << column;
        EXPECT_EQ(want.real, row.IsFloat(column)) << column;
        EXPECT_EQ(want.textOrBlob, row.IsTextOrBlob(column)) << column;
        EXPECT_EQ(want.number, row.GetInt(column)) << column;
        EXPECT_EQ(want.fraction, row.GetDouble(column)) << column;
        if (column != 4) {
            EXPECT_STREQ(want.text, row.GetString(column)) << column;
        }
    }
    EXPECT_EQ(7, row.GetColumnCount());
    EXPECT_STREQ("Real", row.GetColumnName(2));
    EXPECT_STREQ("", row.GetColumnName(9));
    EXPECT_EQ(1, row.GetColumnIndex("number")) << "the first of two, without regard to case";
    EXPECT_EQ(-1, row.GetColumnIndex("missing"));
    EXPECT_EQ(42, row.GetInt("Number"));
    EXPECT_EQ(2.5, row.GetDouble("REAL"));
    EXPECT_STREQ("tëxt", row.GetString("name"));
    EXPECT_STREQ("", row.GetString("missing"));
    EXPECT_EQ(0, row.GetInt("missing"));
    EXPECT_FALSE(row.MoveNext());
    row.Close();
    EXPECT_FALSE(row.IsOpen());
    EXPECT_FALSE(row.MoveNext());
    EXPECT_EQ(0, row.GetColumnCount());
    EXPECT_STREQ("", row.GetColumnName(0));
    EXPECT_EQ(-1, row.GetColumnIndex("Number"));
    row.Close();
}

TEST_F(CSQLiteDatabaseTest, GetBlobCopiesAndLeavesTheDataOfNothingAlone) {
    IRecordset& row = Prepare("SELECT x'00ff41' AS Bytes, x'' AS Empty, NULL AS Nil, 'ab'");
    ASSERT_TRUE(row.MoveNext());
    void* data = nullptr;
    int size = -1;
    EXPECT_TRUE(row.GetBlob("bytes", data, size));
    EXPECT_EQ(std::string("\0\xff"
                          "A",
                          3),
              std::string(static_cast<char*>(data), static_cast<std::size_t>(size)));
    std::free(data);
    EXPECT_TRUE(row.GetBlob(3, data, size));
    EXPECT_EQ("ab", std::string(static_cast<char*>(data), static_cast<std::size_t>(size)));
    std::free(data);
    int mark = 0;
    for (const char* column : {"Empty", "Nil", "missing"}) {
        data = &mark;
        size = -1;
        row.GetBlob(column, data, size);
        EXPECT_EQ(0, size) << column;
        EXPECT_EQ(&mark, data) << column;
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
