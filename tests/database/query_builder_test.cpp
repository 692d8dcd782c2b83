// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <naxfewxmldb/query_builder.h>
#include <stdexcept>

namespace Nax::FrontEnd::XMLDB {
namespace {

using Columns = std::vector<std::string>;

TEST(CQueryBuilder, ReadsTheTableName) {
    const struct {
        const char* statement;
        const char* name;
    } cases[] = {
        {"CREATE TABLE \"Item\" \n( \n", "Item"},
        {"DROP TABLE IF EXISTS Item;\nCREATE TABLE Item(a)", "Item"},
        {"CREATE TABLE  Two (a)", "Two"},
        {"CREATE TABLE \"two words\" (a)", "two words"},
        {"CREATE TABLE \"open", "open"},
        {"CREATE TABLE", ""},
        {"DROP TABLE Item", ""},
        {"", ""},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.name, CQueryBuilder::ReadTableName(item.statement)) << item.statement;
    }
}

TEST(CQueryBuilder, RegistersColumnsInOrderWithoutTheGeneratedKey) {
    const struct {
        const char* statement;
        Columns columns;
    } cases[] = {
        {"CREATE TABLE \"T\" \n( \n\"T_id\" INTEGER,\n\"b\" TEXT,\n\"\" TEXT NULL,\n\"a\" TEXT\n, "
         "file_id TEXT ,\nparent_id TEXT, PRIMARY KEY ( \"T_id\" )\n)",
         {"b", "", "a", "file_id", "parent_id"}},
        {"CREATE TABLE T (T_id TEXT, x TEXTINTEGER(5,2) NULL)", {"T_id", "x"}},
        {"CREATE TABLE T (\"T_id\" INTEGER, \"P_id\" INTEGER CONSTRAINT FK_T_P FOREIGN KEY "
         "REFERENCES \"P\" (\"P_id\"), \"a,b\" TEXT, \"c)d\" TEXT)",
         {"P_id", "a,b", "c)d"}},
        {"CREATE TABLE T (a TEXT, PRIMARY KEY (a, b))", {"a"}},
        {"CREATE TABLE T", {}},
    };
    for (const auto& item : cases) {
        CQueryBuilder builder;
        builder.RegisterTable("T", item.statement);
        EXPECT_EQ(item.columns, builder.GetColumns("T")) << item.statement;
    }
}

TEST(CQueryBuilder, AnnouncedColumnsAreAddedOnceAndTablesKeptByName) {
    CQueryBuilder builder;
    builder.RegisterColumn("Node", "parent_id", "TEXT");
    builder.RegisterTable("Node", "CREATE TABLE Node (a TEXT, parent_id TEXT, b TEXT)");
    builder.RegisterTable("Item", "CREATE TABLE Item (c TEXT)");
    builder.RegisterColumn("Item", "parent_id", "TEXT");
    builder.RegisterTable("Item", "CREATE TABLE Item (d TEXT)");
    const CQueryBuilder::Tables expected = {{"Item", {"d", "parent_id"}},
                                            {"Node", {"a", "parent_id", "b"}}};
    EXPECT_EQ(expected, builder.GetTables());
}

TEST(CQueryBuilder, RendersListsAndPrefixes) {
    EXPECT_EQ("()", CQueryBuilder::RenderColumns({}));
    EXPECT_EQ("(\"\",a_1,\"1a\",\"a b\",\"ä\")",
              CQueryBuilder::RenderColumns({"", "a_1", "1a", "a b", "ä"}));
    const CQueryBuilder builder({{"T", {"a", "", "b"}}});
    EXPECT_EQ("INSERT INTO T (a,\"\",b) VALUES ", builder.FormatInsertPrefix("T"));
    try {
        builder.FormatInsertPrefix("Missing");
        FAIL() << "an unknown table was accepted";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ("invalid map<K, T> key", error.what());
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
