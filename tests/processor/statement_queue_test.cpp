// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <naxfewxmldb/statement_queue.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

using Statements = std::vector<std::string>;

Statements ContentOf(const CStatementQueue& queue) {
    Statements content;
    EXPECT_TRUE(queue.ForEach([&content](const std::string& statement) {
        content.push_back(statement);
        return true;
    }));
    return content;
}

TEST(CStatementQueue, GivesEveryStatementBackAsItWas) {
    Statements statements = {"",
                             "INSERT INTO t (a) VALUES ('x VALUES y')",
                             "INSERT INTO t (a) VALUES ",
                             "INSERT INTO t SELECT 1",
                             "CREATE TABLE t (a)",
                             "insert into t values (1)",
                             std::string("INSERT INTO t VALUES ('\0')", 25),
                             "INSERT INTO t (a) VALUES ('" + std::string(3U << 20U, 'x') + "')"};
    // More prefixes than are searched, and more text than one block holds.
    for (int number = 0; number < 3000; ++number) {
        statements.push_back("INSERT INTO t" + std::to_string(number % 100) + " (a) VALUES ('" +
                             std::string(1000, 'a') + std::to_string(number) + "')");
    }
    CStatementQueue queue;
    for (const std::string& statement : statements) {
        queue.Append(statement);
    }
    EXPECT_EQ(statements.size(), queue.GetCount());
    EXPECT_EQ(statements, ContentOf(queue));
    const CStatementQueue copy = queue;
    queue.Clear();
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(Statements{}, ContentOf(queue));
    queue.Append("again");
    EXPECT_EQ(Statements{"again"}, ContentOf(queue));
    EXPECT_EQ(statements, ContentOf(copy));
}

TEST(CStatementQueue, VisitStopsWhereItIsTold) {
    CStatementQueue queue;
    for (const char* statement : {"a", "b", "c"}) {
        queue.Append(statement);
    }
    std::string seen;
    EXPECT_FALSE(queue.ForEach([&seen](const std::string& statement) {
        seen += statement;
        return statement != "b";
    }));
    EXPECT_EQ("ab", seen);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
