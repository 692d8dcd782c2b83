// SPDX-License-Identifier: Apache-2.0
// An insert that is run bound must leave what the same text leaves. Both are run, into two
// databases of the landscape database's encoding, and whole tables are compared.
#include "database/insert_statement.h"

#include "database/sqlite_database.h"
#include "database_rows.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace Nax::FrontEnd::XMLDB {
namespace {

using Testing::RowsOf;

constexpr char kDump[] =
    "SELECT rowid, quote(a), typeof(a), quote(b), typeof(b), quote(n), "
    "typeof(n), quote(\"\"), typeof(\"\") FROM t ORDER BY rowid";

class CInsertStatementTest : public ::testing::Test {
protected:
    CInsertStatementTest() {
        for (CSQLiteDatabase* database : {&m_bound, &m_text}) {
            EXPECT_TRUE(database->Open(":memory:", "", ""));
            EXPECT_TRUE(database->Execute(
                "PRAGMA encoding = 'UTF-16'; CREATE TABLE t (a TEXT DEFAULT 'd', b, n INTEGER "
                "CHECK (n IS NOT 13), \"\" TEXT)"));
        }
    }
    ~CInsertStatementTest() override {
        m_bound.Close();
        m_text.Close();
    }

    /// Whether the text ran bound; afterwards both databases have run it in one way or the other.
    bool RunBoth(const std::string& sql) {
        const bool bound = m_bound.ExecuteBoundInsert(sql);
        const bool done = bound || m_bound.Execute(sql.c_str());
        EXPECT_EQ(m_text.Execute(sql.c_str()), done) << sql;
        return bound;
    }
    void ExpectSameRows(const std::string& what) {
        EXPECT_EQ(RowsOf(m_text, kDump), RowsOf(m_bound, kDump)) << what;
    }

    CSQLiteDatabase m_bound;
    CSQLiteDatabase m_text;
};

TEST_F(CInsertStatementTest, RunsPlainInsertsBoundAndLeavesAllElseToTheText) {
    const struct {
        const char* sql;
        bool bound;
    } cases[] = {
        {"INSERT INTO t (a,b,n) VALUES ('x','y',1)", true},
        {"INSERT INTO t (a,\"\",n) VALUES ( NULL , '' ,-5 )", true},
        {"INSERT INTO t (a) VALUES ('it''s; ''quoted''')", true},
        {"INSERT INTO t (a) VALUES ('''')", true},
        {"INSERT INTO t (a) VALUES ('f'||'_uuid:'||'')", true},
        {"INSERT INTO t (a) VALUES (''''||'''''')", true},
        {"INSERT INTO t (a) VALUES ('two\nlines\r\nand (brackets), -- no comment /* */')", true},
        {"INSERT INTO t (a) VALUES ('äöü € 𝄞 \xEF\xBB\xBF')", true},
        {"INSERT INTO t (a,b,n) VALUES ('12','12','12')", true},
        {"INSERT INTO t (a,b,n) VALUES (007,-0,999999999999999999)", true},
        {"INSERT INTO t (b,n) VALUES ('1e3','1e3')", true},
        {"INSERT INTO t (a,b) VALUES ('too few')", false},
        {"INSERT INTO t (n) VALUES (13)", false},
        {"INSERT INTO missing (a) VALUES ('x')", false},
        {"INSERT INTO t (missing) VALUES ('x')", false},
        {"INSERT INTO t () VALUES ('x')", false},
        {"INSERT INTO t (\"a) VALUES ('\",'x')", false},
        {"INSERT INTO t (a,b) VALUES (9999999999999999999,1)", false},
        {"INSERT INTO t (a) VALUES (1.5)", false},
        {"INSERT INTO t (a) VALUES (0x10)", false},
        {"INSERT INTO t (a) VALUES (+1)", false},
        {"INSERT INTO t (a) VALUES (- 1)", false},
        {"INSERT INTO t (a) VALUES (1+1)", false},
        {"INSERT INTO t (a) VALUES (--1\n2)", false},
        {"INSERT INTO t (a) VALUES (null)", false},
        {"INSERT INTO t (a) VALUES (NULLX)", false},
        {"INSERT INTO t (a) VALUES (NULL||'x')", false},
        {"INSERT INTO t (a) VALUES ('a' || 'b')", false},
        {"INSERT INTO t (a) VALUES ('a'||1)", false},
        {"INSERT INTO t (a) VALUES ('a'||'b' COLLATE nocase)", false},
        {"INSERT INTO t (a) VALUES (\"double\")", false},
        {"INSERT INTO t (a) VALUES (upper('x'))", false},
        {"INSERT INTO t (a) VALUES (x'41')", false},
        {"INSERT INTO t (a) VALUES (?)", false},
        {"INSERT INTO t (a) VALUES ('x') ", false},
        {"INSERT INTO t (a) VALUES ('x');", false},
        {"INSERT INTO t (a) VALUES ('x'); DELETE FROM t", false},
        {"INSERT INTO t (a) VALUES ('x'),('y')", false},
        {"INSERT INTO t (a) VALUES ('x') -- comment", false},
        {"INSERT INTO t (a) VALUES ('x' /* comment */)", false},
        {"INSERT INTO t (a) VALUES ('x',)", false},
        {"INSERT INTO t (a) VALUES ()", false},
        {"INSERT INTO t (a) VALUES ('open)", false},
        {"INSERT INTO t (a) VALUES ('x'||'open)", false},
        {"INSERT INTO t (a) VALUES ('x'", false},
        {"INSERT INTO t (a) VALUES (", false},
        {"INSERT INTO \"t\" (a, b) VALUES ('x','y')", false},
        {"insert into t (a) values ('x')", false},
        {"INSERT OR REPLACE INTO t (a) VALUES ('x')", false},
        {"INSERT INTO t SELECT 1,2,3,4", false},
        {"INSERT INTO t DEFAULT VALUES", false},
        {"UPDATE t SET a = 1", false},
        {"", false},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.bound, RunBoth(item.sql)) << item.sql;
        ExpectSameRows(item.sql);
    }
}

TEST_F(CInsertStatementTest, ZeroCharacterEndsATextAndIsThereforeRefused) {
    CInsertStatement statement;
    EXPECT_FALSE(statement.Parse(std::string("INSERT INTO t (a) VALUES ('x\0y')", 32)));
}

TEST_F(CInsertStatementTest, MoreFormsThanAreKeptStillRun) {
    for (int table = 0; table < 70; ++table) {
        const std::string name = "t" + std::to_string(table);
        const std::string create = "CREATE TABLE " + name + " (a)";
        ASSERT_TRUE(m_bound.Execute(create.c_str()));
        ASSERT_TRUE(m_text.Execute(create.c_str()));
        EXPECT_EQ(table < 64, RunBoth("INSERT INTO " + name + " (a) VALUES ('x')")) << table;
        EXPECT_TRUE(RunBoth("INSERT INTO t0 (a) VALUES ('again')")) << "known forms stay bound";
    }
    EXPECT_EQ(71U, RowsOf(m_bound, "SELECT * FROM t0").size());
    m_bound.ReleaseBoundInserts();
    EXPECT_TRUE(RunBoth("INSERT INTO t69 (a) VALUES ('x')"));
}

TEST_F(CInsertStatementTest, RandomTextsLeaveTheSameRows) {
    const std::string pieces[] = {
        "'",    "''",     "'||'", "||",       "|", ",",  "(",    ")",   " ",
        "\n",   "x",      "f_",   "f_a:",     "ä", "𝄞",  ";",    "--",  "/*",
        "\"",   "\"q\"",  "NULL", "null",     "5", "-3", "0",    "1e2", "0x1",
        "'te'", "'a''b'", "''",   "'f'||'_'", "?", "@a", "'12'", "+",   "-",
    };
    std::mt19937 random(20240305);
    const auto pick = [&random](std::size_t count) { return random() % count; };
    std::size_t bound = 0;
    for (int run = 0; run < 20000; ++run) {
        std::string values;
        const std::size_t count = 1 + pick(3);
        for (std::size_t value = 0; value < count; ++value) {
            values += value == 0 ? "" : ",";
            // Mostly whole literals, so that many texts are inserts; some broken ones between.
            for (std::size_t left = pick(6) == 0 ? 1 + pick(5) : 1; left > 0; --left) {
                values += pick(3) == 0 ? pieces[pick(std::size(pieces))] : "'v'";
            }
        }
        const std::string columns = count == 1 ? "a" : count == 2 ? "a,\"\"" : "b,a,n";
        bound += RunBoth("INSERT INTO t (" + columns + ") VALUES (" + values + ")") ? 1 : 0;
        if (run % 500 == 499) {
            ExpectSameRows("run " + std::to_string(run));
            ASSERT_FALSE(HasFailure());
            m_bound.Execute("DELETE FROM t");
            m_text.Execute("DELETE FROM t");
        }
    }
    EXPECT_GT(bound, 5000U) << "the texts must be inserts often enough to prove anything";
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
