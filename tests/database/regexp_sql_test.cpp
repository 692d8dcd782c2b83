// SPDX-License-Identifier: Apache-2.0
// The SQL functions through a connection.
#include <gtest/gtest.h>
#include <naxfewxmldb/regexp.h>
#include <sqlite3.h>

#include <memory>
#include <string>

namespace Nax::FrontEnd::XMLDB {
namespace {

struct SCloser {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

using Statement = std::unique_ptr<sqlite3_stmt, SCloser>;

class RegexpSqlTest : public testing::Test {
protected:
    void SetUp() override {
        sqlite3* db = nullptr;
        const int opened = sqlite3_open(":memory:", &db);
        m_db.reset(db);
        ASSERT_EQ(opened, SQLITE_OK);
        ASSERT_EQ(sqlite3_regexp_init(m_db.get()), SQLITE_OK);
    }

    Statement Prepare(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(m_db.get(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
            << sqlite3_errmsg(m_db.get());
        return Statement(statement);
    }

    /// The first column of all rows, joined by a blank, and the error that ended them.
    std::string Run(const std::string& sql) {
        const Statement statement = Prepare(sql);
        std::string result;
        int code = SQLITE_ROW;
        while ((code = sqlite3_step(statement.get())) == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(statement.get(), 0);
            result += result.empty() ? "" : " ";
            result += text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
        }
        return code == SQLITE_DONE ? result : result + sqlite3_errmsg(m_db.get());
    }

    std::unique_ptr<sqlite3, SCloser> m_db;
};

TEST_F(RegexpSqlTest, Queries) {
    const std::string uuid =
        "'[a-fA-F0-9]{8}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{12}'";
    struct SCase {
        std::string sql;
        std::string expected;
    };
    const SCase cases[] = {
        {"SELECT 'abc' REGEXP 'b'", "1"},
        {"SELECT 'abc' NOT REGEXP 'b'", "0"},
        {"SELECT regexp('b', 'abc')", "1"},
        {"SELECT regexp('B', 'abc')", "0"},
        {"SELECT regexpi('B', 'abc')", "1"},
        {"SELECT 'x 0a1B2c3D-0a1B-2c3D-4e5F-0123456789aB' REGEXP " + uuid, "1"},
        {"SELECT '0a1B2c3D-0a1B-2c3D-4e5F-0123456789a' REGEXP " + uuid, "0"},
        {"SELECT '0a1B2c3D-0a1B-2c3D-4e5F_0123456789aB' REGEXP " + uuid, "0"},
        {"SELECT 'aaa' REGEXP '(a|b){1,70000}'", "1"},
        {"SELECT regexp(NULL, 'a')", "NULL"},
        {"SELECT regexp('a', NULL)", "NULL"},
        {"SELECT regexpi(NULL, NULL)", "NULL"},
        {"SELECT regexp('*', NULL)", "'*' without operand"},
        {"SELECT regexp('a)', 'a')", "unrecognized character"},
        {"SELECT regexp('((a{1000}){1000}){1000}', 'a')", "out of memory"},
        {"SELECT regexp('^12$', 12)", "1"},
        {"SELECT regexp('^1.5$', 1.5)", "1"},
        {"SELECT regexp('', x'')", "1"},
        {"SELECT regexp('^' || char(233) || '$', x'c3a9')", "1"},
        {"SELECT regexp('a$', 'a' || char(0) || 'b')", "0"},
        {"SELECT regexp('a' || char(0) || '+b', 'a' || char(0, 0) || 'b')", "1"},
        {"SELECT column1 REGEXP '^a+$' FROM (VALUES ('a'), ('b'), (NULL), ('aa'))", "1 0 NULL 1"},
        {"SELECT 'ab' REGEXP column1 FROM (VALUES ('a$'), ('b$'), (NULL), ('^a'))", "0 1 NULL 1"},
        {"SELECT 'ab' REGEXP column1 FROM (VALUES ('a'), ('['))", "1unclosed '['"},
    };
    for (const SCase& row : cases) {
        EXPECT_EQ(Run(row.sql), row.expected) << row.sql;
    }
}

TEST_F(RegexpSqlTest, TextsInUtf16) {
    Run("PRAGMA encoding = 'UTF-16le'");
    Run("CREATE TABLE t AS SELECT 'caf' || char(233) AS name");
    EXPECT_EQ(Run("SELECT name REGEXP '^caf.$' FROM t"), "1");
}

TEST_F(RegexpSqlTest, FunctionsAreDeterministicAndInnocuous) {
    EXPECT_EQ(Run("CREATE TABLE t (a); CREATE INDEX i ON t (a) WHERE a REGEXP 'x'"), "");
    EXPECT_EQ(Run("CREATE INDEX i ON t (regexpi('x', a))"), "") << "must be deterministic";
    EXPECT_EQ(
        Run("SELECT count(*) FROM pragma_function_list "
            "WHERE name IN ('regexp', 'regexpi') AND narg = 2 AND flags & 0x200800 = 0x200800"),
        "2");
}

TEST_F(RegexpSqlTest, RegistrationFailureIsReturned) {
    // A function in use cannot be replaced.
    Run("CREATE TABLE t AS VALUES ('a'), ('b')");
    const Statement statement = Prepare("SELECT column1 REGEXP 'a' FROM t");
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_regexp_init(m_db.get()), SQLITE_BUSY);
}

/// Lets SQLite have no more memory than it has now plus some bytes.
class CMemoryLimit {
public:
    explicit CMemoryLimit(sqlite3_int64 bytes) {
        sqlite3_hard_heap_limit64(sqlite3_memory_used() + bytes);
    }
    CMemoryLimit(const CMemoryLimit&) = delete;
    CMemoryLimit& operator=(const CMemoryLimit&) = delete;
    ~CMemoryLimit() { sqlite3_hard_heap_limit64(0); }
};

TEST_F(RegexpSqlTest, TheMatcherWithoutMemoryAnswersMinusOne) {
    Run("CREATE TABLE t AS VALUES ('aab'), ('aab'), ('aab')");
    const Statement statement = Prepare("SELECT column1 REGEXP '(a|b){3,90000}$' FROM t");
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(statement.get(), 0), 1);
    {
        // Also shows that the program is kept: compiling it would fail the statement.
        const CMemoryLimit limit(100'000);
        ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW) << sqlite3_errmsg(m_db.get());
        EXPECT_EQ(sqlite3_column_int(statement.get(), 0), -1);
    }
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(statement.get(), 0), 1);
}

TEST_F(RegexpSqlTest, CompilingWithoutMemoryFailsTheStatement) {
    const CMemoryLimit limit(200'000);
    EXPECT_EQ(Run("SELECT regexp('(a|b){3,90000}$', 'aab')"), "out of memory");
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
