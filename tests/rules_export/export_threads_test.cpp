// SPDX-License-Identifier: Apache-2.0
// Many export rules at once over one connection. Also run under the thread sanitizer.
#include "export_fixture.h"

#include "rules/thread_limiter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <latch>
#include <regex>
#include <set>

namespace Nax::FrontEnd::XMLDB::Testing {

namespace {

constexpr int kRules = 40;
constexpr int kRows = 400;

const CScratchFolder& TraceFolder() {
    static const CScratchFolder folder;
    return folder;
}

std::string ReadTrace() {
    std::string text;
    for (const auto& entry : std::filesystem::directory_iterator(TraceFolder().Path())) {
        text += ReadAll(entry.path().string());
    }
    return text;
}

/// Every fourth export names a table that is not there, every other fourth fails while it runs.
std::vector<SRequest> ManyRequests() {
    std::vector<SRequest> requests;
    for (int number = 0; number < kRules; ++number) {
        const std::string id = std::to_string(number);
        std::string body =
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE "
            "i < " +
            std::to_string(kRows) + ") SELECT i, 'rule " + id +
            "' AS t FROM n WHERE t REGEXP 'rule'";
        if (number % 4 == 1) {
            body = "SELECT a FROM missing_" + id;
        } else if (number % 4 == 3) {
            body = "SELECT x'00' AS blob_" + id;
        }
        requests.push_back({"Rule" + id, body, "rule" + id + ".json"});
    }
    return requests;
}

class ExportThreadsTest : public CExportTest {};

} // namespace

TEST_F(ExportThreadsTest, KeepEveryFileWholeAndEveryMessage) {
    const auto processor = NewResults(false);
    const auto rules = NewExport(processor, ManyRequests());
    const auto debugged = NewExport(processor, ManyRequests());
    for (int round = 0; round < 3; ++round) {
        rules->ExecuteExport(m_output.c_str(), 0, round == 2 ? 1 : 0, 0, "");
    }
    for (int number = 0; number < kRules; ++number) {
        const std::string file = m_output + "/rule" + std::to_string(number) + ".json";
        ASSERT_EQ(std::filesystem::exists(file), number % 2 == 0) << file;
        if (number % 2 == 0) {
            const std::string json = Quoted(ReadAll(file));
            EXPECT_EQ(Query(*processor,
                            "SELECT count(*), sum(json_extract(value, '$.i')), "
                            "max(json_extract(value, '$.t')) FROM json_each(" +
                                json + ")"),
                      Rows{std::to_string(kRows) + "|" + std::to_string(kRows * (kRows + 1) / 2) +
                           "|rule " + std::to_string(number)});
        }
    }

    // Each failing statement has its own message beside it.
    const std::string trace = ReadTrace();
    const std::regex prepared(R"(Failed execute query : SELECT \* FROM \(SELECT a FROM (\w+)\);\s+)"
                              R"(SQLite error: no such table: (\w+))");
    std::set<std::string> tables;
    for (std::sregex_iterator hit(trace.begin(), trace.end(), prepared), end; hit != end; ++hit) {
        EXPECT_EQ((*hit)[1], (*hit)[2]);
        tables.insert((*hit)[2]);
    }
    EXPECT_EQ(tables.size(), kRules / 4U);
    const std::regex stepped(R"(Export rule, id: \d+, failed query: .*blob_(\d+)\);\s+)"
                             R"(SQLite error: JSON cannot hold BLOB values)");
    std::set<std::string> blobs;
    for (std::sregex_iterator hit(trace.begin(), trace.end(), stepped), end; hit != end; ++hit) {
        blobs.insert((*hit)[1]);
    }
    EXPECT_EQ(blobs.size(), kRules / 4U);
    EXPECT_EQ(trace.find("SQLite error: not an error"), std::string::npos);
}

TEST_F(ExportThreadsTest, RunAtOnceAndEndBeforeTheFirstPostRun) {
    const auto processor = NewResults(false);
    const auto rules = NewExport(processor, {{"A", "SELECT 1 AS a", "a.json"},
                                             {"B", "SELECT 1 AS a", "b.json"},
                                             {"C", "SELECT 1 AS a", "c.json"}});
    const std::size_t before = ReadTrace().size();
    EXPECT_TRUE(rules->ExecuteExport(m_output.c_str(), 1, 0, 0, ""));
    const std::string trace = ReadTrace().substr(before);
    EXPECT_LT(trace.rfind("Finalize rule, id:"), trace.find("Post running rule, id: 1..."));
    EXPECT_LT(trace.find("Post running rule, id: 1..."), trace.find("POSTRUN export rule, id: 1"));
    EXPECT_LT(trace.find("POSTRUN export rule, id: 1"), trace.find("Post running rule, id: 2..."));
    EXPECT_LT(trace.find("Post running rule, id: 2..."), trace.find("Post running rule, id: 3..."));
}

TEST(ThreadLimiterTest, LetsAsManyRunAtOnceAsTheLimitSays) {
    CThreadLimiter threads;
    const std::size_t many = threads.GetLimit() + 5;
    threads.RaiseLimit(many);
    threads.RaiseLimit(1);
    EXPECT_EQ(threads.GetLimit(), many);
    // Each job waits for all others: with one thread fewer this would never end.
    std::latch all(static_cast<std::ptrdiff_t>(many));
    std::atomic<std::size_t> ended = 0;
    for (std::size_t count = 0; count < many; ++count) {
        threads.Start([&all, &ended] {
            all.arrive_and_wait();
            ++ended;
        });
    }
    threads.JoinAll();
    EXPECT_EQ(ended, many);
}

} // namespace Nax::FrontEnd::XMLDB::Testing

int main(int argc, char** argv) {
    const CEnvironmentValue level("NAXFEWXMLDB_TRACE_LEVEL", "4");
    const CEnvironmentValue folder("NAXFEWXMLDB_TRACE_DIR",
                                   Nax::FrontEnd::XMLDB::Testing::TraceFolder().Path().c_str());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
