// SPDX-License-Identifier: Apache-2.0
#include "database/sqlite_database.h"

#include "database_rows.h"
#include "scratch.h"

#include <gtest/gtest.h>
#include <cstdint>

namespace Nax::FrontEnd::XMLDB {
namespace {

class CSQLiteParametersTest : public ::testing::Test {
protected:
    CSQLiteParametersTest() { EXPECT_TRUE(m_database.Open(":memory:", "", "")); }
    ~CSQLiteParametersTest() override {
        m_query.reset();
        m_database.Close();
    }

    const std::shared_ptr<IRecordset>& Prepare(const char* sql) {
        EXPECT_TRUE(m_database.ExecuteQuery(sql, m_query));
        return m_query;
    }

    CSQLiteDatabase m_database;
    std::shared_ptr<IRecordset> m_query;
};

TEST_F(CSQLiteParametersTest, NamesComeWithoutPrefixButAreFoundWithIt) {
    const auto& query = Prepare("SELECT @file_id, ?, $b, :c, ?7");
    int count = 0;
    EXPECT_TRUE(m_database.GetParameterCount(query, count));
    EXPECT_EQ(7, count);
    const char* const names[] = {"file_id", "", "b", "c", "", "", "7", ""};
    for (int index = 0; index < 8; ++index) {
        CStringA name = "before";
        EXPECT_TRUE(m_database.GetParameterName(query, index, name)) << index;
        EXPECT_STREQ(names[index], name) << index;
    }
    const struct {
        const char* name;
        int index;
    } cases[] = {{"@file_id", 0}, {"file_id", -1}, {"$b", 2}, {":c", 3}, {":b", -1}, {"?7", 6}};
    for (const auto& item : cases) {
        int index = 0;
        EXPECT_EQ(item.index >= 0, m_database.GetParameterIndex(query, item.name, index))
            << item.name;
        EXPECT_EQ(item.index, index) << item.name;
    }
    int index = 5;
    EXPECT_FALSE(m_database.GetParameterIndex(query, "", index));
    EXPECT_EQ(5, index);
    index = -1;
    EXPECT_FALSE(m_database.GetParameterIndex(query, ":c", index)) << "the entry value is tested";
    EXPECT_EQ(-1, index);
}

TEST_F(CSQLiteParametersTest, BindsEveryKindAndKeepsBindingsOverAReset) {
    const auto& query = Prepare("SELECT ?, ?, ?, ?, ?");
    CStringA text = "zwölf 'x'";
    EXPECT_TRUE(m_database.BindText(query, 0, text));
    text = "changed later";
    EXPECT_TRUE(m_database.BindInt(query, 1, -7));
    EXPECT_TRUE(m_database.BindInt64(query, 2, INT64_C(9007199254740993)));
    EXPECT_TRUE(m_database.BindDouble(query, 3, 0.5));
    EXPECT_FALSE(m_database.BindInt(query, 5, 1)) << "past the last";
    EXPECT_FALSE(m_database.BindInt(query, -1, 1));
    EXPECT_FALSE(m_database.BindInt(query, -2, 1)) << "refused by SQLite";
    for (int run = 0; run < 2; ++run) {
        ASSERT_TRUE(query->MoveNext());
        EXPECT_STREQ("zwölf 'x'", query->GetString(0)) << run;
        EXPECT_EQ(-7, query->GetInt(1)) << run;
        EXPECT_STREQ("9007199254740993", query->GetString(2)) << run;
        EXPECT_EQ(0.5, query->GetDouble(3)) << run;
        EXPECT_TRUE(query->IsNull(4)) << run;
        EXPECT_FALSE(m_database.BindInt(query, 1, 1)) << "not while it runs";
        EXPECT_TRUE(m_database.ResetRecordset(query)) << run;
    }
}

TEST_F(CSQLiteParametersTest, ClosedRecordsetIsRefused) {
    const auto& query = Prepare("SELECT ?1");
    EXPECT_TRUE(m_database.CheckParameterIndex(query, 0));
    EXPECT_TRUE(m_database.CheckParameterIndex(query, 0xFFFFFFFEU)) << "only -1 is tested";
    EXPECT_FALSE(m_database.CheckParameterIndex(query, 0xFFFFFFFFU));
    query->Close();
    int count = 5;
    int index = 0;
    CStringA name = "before";
    CStringA text;
    EXPECT_FALSE(m_database.GetParameterCount(query, count));
    EXPECT_EQ(0, count);
    EXPECT_FALSE(m_database.GetParameterName(query, 0, name));
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_FALSE(m_database.GetParameterIndex(query, "?1", index));
    EXPECT_FALSE(m_database.BindText(query, 0, text));
    EXPECT_FALSE(m_database.ResetRecordset(query));
    EXPECT_TRUE(m_database.QueryCapability());
    EXPECT_EQ(nullptr, m_database.GetExtension());
}

TEST_F(CSQLiteParametersTest, ParseParameterNamesKeepsItsOddCounts) {
    const struct {
        const char* sql;
        std::vector<CStringA> names;
    } cases[] = {
        {"", {}},
        {"SELECT 1", {}},
        {"a=@ab", {"ab"}},
        {"a=:b", {""}},
        {"a=@", {""}},
        {"SELECT @ x", {""}},
        // The count of a name that white space ends is its end's position, not its length.
        {":ab c", {"ab"}},
        {" :ab c", {"ab "}},
        {"  :ab cdef", {"ab c"}},
        {"a = @name AND b = 5", {"name AND"}},
        {"a=@one\tb=$two\n", {"one\tb", "two\n"}},
        {"a=@first@second", {"second"}},
        {"(@a,@bcd)", {"bcd)"}},
        {"'@a b' \"@c d\"", {}},
        {"'it''s @a' :xyz", {"xyz"}},
        {"'\"' :xyz", {"xyz"}},
        {"\"'\" :xyz", {"xyz"}},
        {"@a\"b c\" ", {"a\"b"}},
        {"@abc'x y'", {"abc'x"}},
        {"x ?1\ry", {"1\ry"}},
    };
    for (const auto& item : cases) {
        std::vector<CStringA> names = {"before"};
        EXPECT_TRUE(m_database.ParseParameterNames(item.sql, names)) << item.sql;
        ASSERT_EQ(item.names.size(), names.size()) << item.sql;
        for (std::size_t at = 0; at < names.size(); ++at) {
            EXPECT_STREQ(item.names[at], names[at]) << item.sql;
        }
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
