// SPDX-License-Identifier: Apache-2.0
// Records that go past the queue: the rows, error texts and states of the queued way.
#include "processor_fixture.h"

#include <naxfewxmldb/record_loader.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include <algorithm>
#include <vector>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

class CRecordLoaderTest : public CProcessorTest {
protected:
    static std::size_t ColumnOf(const CDBProcessor& processor, const std::string& table,
                                const std::string& column) {
        const std::vector<std::string>& columns =
            processor.GetMapper()->GetQueryBuilder().GetColumns(table);
        return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), column) -
                                        columns.begin());
    }

    static void AddRouter(CRecordLoader& loader, const CDBProcessor& processor,
                          std::string_view uuid) {
        const SRecordValue value{ColumnOf(processor, "Router", "uuid"), uuid};
        loader.Add(loader.FindTable("Router"), {&value, 1});
    }

    /// Makes the next insert of a router fail, the first time and when it is repeated.
    static void RefuseRouters(CDBProcessor& processor) {
        ASSERT_TRUE(
            processor.DB_ExecuteQuery("CREATE TRIGGER refuse BEFORE INSERT ON Router WHEN NEW.uuid "
                                      "= 'bad' BEGIN SELECT RAISE(ABORT, 'refused'); END"));
    }
};

TEST_F(CRecordLoaderTest, StoresEveryTextAsItIs) {
    const std::vector<std::string> texts = {
        "plain",
        "",
        "it's; DROP TABLE Router; -- \"quoted\"",
        "f_uuid:f_data:'',",
        "\xEF\xBB\xBF"
        "byte-order mark",
        "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 beyond ASCII",
        "ASCII, then \xEF\xBF\xBD",
        std::string(100'000, 'x'),
        std::string(1000, 'y') + "\xC3\xA4",
        "short again",
    };
    const auto processor = NewDatabase(Transactional);
    CRecordLoader loader(*processor);
    ASSERT_TRUE(loader.Begin());
    EXPECT_EQ(CRecordLoader::kNone, loader.FindTable("Unknown"));
    const std::size_t table = loader.FindTable("Router");
    const std::size_t uuid = ColumnOf(*processor, "Router", "uuid");
    const std::size_t name = ColumnOf(*processor, "Router", "name");
    Rows expected;
    for (std::size_t row = 0; row < texts.size(); ++row) {
        const SRecordValue values[] = {{name, texts[row]}, {uuid, texts[texts.size() - 1 - row]}};
        // Every other row lacks a value, which the row before it had.
        loader.Add(table, {values, row % 2 == 0 ? 2U : 1U});
        expected.push_back(texts[row] + "|" +
                           (row % 2 == 0 ? texts[texts.size() - 1 - row] : "NULL") + "|NULL");
    }
    loader.End();
    ASSERT_TRUE(Run(*processor, Commit)) << processor->GetLastDBError();
    EXPECT_EQ(expected, Query(*processor,
                              "SELECT name || '|' || ifnull(uuid, 'NULL') || '|' || "
                              "ifnull(file_id, 'NULL') FROM Routers ORDER BY rowid"));
    EXPECT_EQ(Normal, processor->GetMode());
    EXPECT_FALSE(processor->GetDatabase()->IsTransactionStarted());
}

TEST_F(CRecordLoaderTest, GroupsAreKeptOrTakenBackAndTheQueueRunsAfterThem) {
    const auto processor = NewDatabase(Transactional);
    ASSERT_TRUE(Run(*processor, DBOperations::AddRouter,
                    RecordOf(*processor, "Router", {{"uuid", "'queued before'"}})));
    CRecordLoader loader(*processor);
    ASSERT_TRUE(loader.Begin());
    EXPECT_FALSE(CRecordLoader(*processor).Begin()) << "one load at a time";
    for (const bool keep : {true, false, true}) {
        loader.BeginGroup();
        AddRouter(loader, *processor, keep ? "kept" : "dropped");
        loader.EndGroup(keep);
    }
    ASSERT_TRUE(Run(*processor, DBOperations::AddRouter,
                    RecordOf(*processor, "Router", {{"uuid", "'queued after'"}})));
    loader.End();
    ASSERT_TRUE(Run(*processor, Commit)) << processor->GetLastDBError();
    EXPECT_EQ((Rows{"1 queued before", "2 kept", "3 kept", "4 queued after"}),
              Query(*processor, "SELECT rowid || ' ' || uuid FROM Routers"));
}

TEST_F(CRecordLoaderTest, AFailureIsReportedByTheCommitAsAQueuedOneIs) {
    const auto processor = NewDatabase(Transactional);
    CRecordLoader loader(*processor);
    ASSERT_TRUE(loader.Begin());
    RefuseRouters(*processor);
    loader.BeginGroup();
    AddRouter(loader, *processor, "bad");
    loader.EndGroup(false);
    loader.BeginGroup();
    AddRouter(loader, *processor, "good");
    AddRouter(loader, *processor, "bad");
    AddRouter(loader, *processor, "never tried");
    loader.EndGroup(true);
    loader.BeginGroup();
    AddRouter(loader, *processor, "never tried");
    loader.EndGroup(false);
    loader.End();
    EXPECT_FALSE(Run(*processor, Commit));
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 257,
                        "Failed execute query : INSERT INTO Router (description,name,router,uuid,"
                        "file_id) VALUES (NULL,NULL,NULL,'bad',NULL)",
                        "refused"),
              processor->GetLastDBError());
    EXPECT_EQ(Transactional, processor->GetMode());
    EXPECT_TRUE(processor->GetDatabase()->IsTransactionStarted());
    EXPECT_EQ(Rows{"good"}, Query(*processor, "SELECT uuid FROM Router"));
}

TEST_F(CRecordLoaderTest, LeavesRecordsToTheProcessorWhereItMust) {
    EXPECT_FALSE(CRecordLoader(*NewDatabase(Normal)).Begin()) << "records are executed at once";
    const auto processor = NewDatabase(Transactional);
    ASSERT_TRUE(processor->DB_ExecuteQuery("BEGIN"));
    EXPECT_FALSE(CRecordLoader(*processor).Begin()) << "no transaction can be opened";
    ASSERT_TRUE(processor->DB_ExecuteQuery("ROLLBACK"));
    EXPECT_TRUE(Run(*processor, Commit)) << processor->GetLastDBError();
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
