// SPDX-License-Identifier: Apache-2.0
// What one process may do on several threads, and that what it may not do is refused.
#include "processor_fixture.h"

#include <naxfewxmldb/known_folders.h>
#include <naxfewxmldb/record_loader.h>
#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/xml_xsd_validator.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

constexpr int kThreads = 8;
constexpr std::size_t kRouters = 300;
constexpr char kWait[] = "PRAGMA busy_timeout = 60000"; ///< for connections of others
constexpr char kRulesRefused[] = "Another thread of this process runs the rules";
constexpr char kRefused[] = "Another thread of this process works on the database";

/// Runs `work` with the numbers of `count` threads, all at once.
void OnThreads(int count, const std::function<void(int)>& work) {
    std::barrier start(count);
    std::vector<std::jthread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
}

class CThreadsTest : public CProcessorTest {
protected:
    /// Stores routers that all bear `name`, as their id too, in the transaction that the commit
    /// ends; `meanwhile` is run inside of it.
    static bool Fill(
        CDBProcessor& processor, const std::string& name,
        const std::function<void()>& meanwhile = [] {}) {
        CRecordLoader loader(processor);
        const bool begun = loader.Begin();
        const std::size_t table = loader.FindTable("Router");
        const std::vector<std::string>& columns = processor.GetMapper()->GetTables().at("Router");
        const auto column = [&](const char* text) {
            return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), text) -
                                            columns.begin());
        };
        const SRecordValue values[] = {{column("uuid"), name}, {column("name"), name}};
        for (std::size_t row = 0; begun && row < kRouters; ++row) {
            loader.Add(table, values);
            if (row == kRouters / 2) {
                meanwhile();
            }
        }
        loader.End();
        return begun && Run(processor, Commit);
    }

    /// The names in a database file, each with its count, behind SQLite's verdict on the file.
    static Rows Content(const std::string& file) {
        const auto connection = NewProcessor(Normal)->GetDatabase();
        EXPECT_TRUE(connection->Open(file.c_str(), "", ""));
        Rows rows = RowsOf(*connection, "PRAGMA integrity_check");
        for (std::string& row :
             RowsOf(*connection, "SELECT name, count(*) FROM Routers GROUP BY name")) {
            rows.push_back(std::move(row));
        }
        connection->Close();
        return rows;
    }

    static Rows Whole(const std::string& name) {
        return {"ok", name + "|" + std::to_string(kRouters)};
    }

    /// The rules and what they found, each finding once.
    static Rows RunRules(const std::shared_ptr<CDBProcessor>& processor) {
        CRulesProcessor rules(processor, _bstr_t());
        EXPECT_TRUE(rules.LoadRules(_bstr_t()));
        EXPECT_TRUE(rules.Execute());
        return RowsOf(*processor->GetDatabase(),
                      "SELECT Name, '' FROM Rules UNION ALL SELECT RuleId, ResultDescription "
                      "FROM ValidationResults ORDER BY 1, 2");
    }

    std::vector<std::string> Backups() const {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
            if (entry.path().extension() == ".bak") {
                files.push_back(entry.path().string());
            }
        }
        return files;
    }
};

TEST_F(CThreadsTest, OneOfManyThreadsMakesTheDatabase) {
    ASSERT_TRUE(Fill(*NewDatabase(Transactional), "earlier"));
    std::atomic<int> winner = -1;
    std::atomic<int> refused = 0;
    std::barrier all(kThreads);
    OnThreads(kThreads, [&](int number) {
        const auto processor = NewProcessor(Transactional);
        all.arrive_and_wait();
        const bool made = Run(*processor, createDB);
        if (made) {
            EXPECT_EQ(-1, winner.exchange(number));
        } else {
            ++refused;
            EXPECT_NE(std::string::npos, processor->GetLastDBError().find(kRefused))
                << processor->GetLastDBError();
            EXPECT_FALSE(Run(*processor, Commit)) << "there is no database to commit to";
        }
        all.arrive_and_wait();
        EXPECT_TRUE(!made || Fill(*processor, "thread " + std::to_string(number)))
            << processor->GetLastDBError();
    });
    EXPECT_EQ(kThreads - 1, refused);
    EXPECT_EQ(Whole("thread " + std::to_string(winner)), Content(DatabaseFile()));
    ASSERT_EQ(1U, Backups().size());
    EXPECT_EQ(Whole("earlier"), Content(Backups().front()));
}

TEST_F(CThreadsTest, TheDatabaseIsFreeOnceItsMakerIsDone) {
    struct SRow {
        const char* name;
        bool closed;       ///< the maker lets go of its connection
        bool ended;        ///< the maker's thread ends first
        bool sameThread;   ///< the second processor is used by the maker's thread
        bool otherFolder;  ///< the second one means another file
        DBOperations then; ///< what the second one does
        bool allowed;
    };
    const SRow rows[] = {
        {"make beside the maker", false, false, false, false, createDB, false},
        {"make elsewhere beside the maker", false, false, false, true, createDB, false},
        {"open elsewhere beside the maker", false, false, false, true, openDB, false},
        {"open beside the maker", false, false, false, false, openDB, true},
        {"make after the maker has closed", true, false, false, false, createDB, true},
        {"make after the maker's thread", false, true, false, false, createDB, true},
        {"make on the maker's thread", false, false, true, false, createDB, true},
    };
    for (const SRow& row : rows) {
        OverrideKnownFolder(KnownFolder::LocalAppData, m_folder.Path().c_str());
        const auto first = NewProcessor(Transactional);
        bool allowed = false;
        const auto second = NewProcessor(Transactional);
        const auto use = [&] {
            if (row.otherFolder) {
                OverrideKnownFolder(KnownFolder::LocalAppData, m_folder.File("other").c_str());
            }
            allowed = Run(*second, row.then);
        };
        std::jthread([&] {
            EXPECT_TRUE(Run(*first, createDB)) << row.name;
            if (row.closed) {
                first->UnInitialize();
            }
            if (row.sameThread) {
                use();
            } else if (!row.ended) {
                std::jthread(use).join();
            }
        }).join();
        if (row.ended) {
            std::jthread(use).join();
        }
        EXPECT_EQ(row.allowed, allowed) << row.name << second->GetLastDBError();
        EXPECT_EQ(
            row.allowed && row.otherFolder ? m_folder.File("other/UILandscape.db") : DatabaseFile(),
            first->GetDatabaseFileName())
            << row.name;
    }
}

TEST_F(CThreadsTest, ConnectionsOfOthersDoNotEndATransaction) {
    const auto processor = NewDatabase(Transactional);
    EXPECT_TRUE(Fill(*processor, "whole", [] {
        OnThreads(kThreads, [](int) {
            const auto other = NewProcessor(Normal);
            EXPECT_TRUE(other->InitializeInMemory()) << other->GetLastDBError();
        });
    })) << processor->GetLastDBError();
    EXPECT_EQ(Whole("whole"), Content(DatabaseFile()));
}

TEST_F(CThreadsTest, ReadersSeeWholeTransactionsBesideTheRules) {
    const auto processor = NewDatabase(Transactional);
    ASSERT_TRUE(Fill(*processor, "whole"));
    for (const DBOperations made : {CreateResultIdTable, CreateResultsTable, CreateRulesTable}) {
        ASSERT_TRUE(Run(*processor, made));
    }
    ASSERT_TRUE(processor->DB_ExecuteQuery(kWait));
    const Rows alone = RunRules(processor);
    std::atomic<bool> done = false;
    std::atomic<int> reads = 0;
    std::jthread readers([&] {
        OnThreads(kThreads, [&](int number) {
            // Half of them share the connection of the rules, the others have one of their own.
            const auto own = number % 2 == 0 ? processor : NewProcessor(Normal);
            EXPECT_TRUE(own == processor || Run(*own, openDB)) << own->GetLastDBError();
            EXPECT_TRUE(own->DB_ExecuteQuery(kWait));
            while (!done) {
                std::shared_ptr<IRecordset> rows;
                if (own->DB_ExecuteQuery("SELECT count(*) FROM Routers", rows) &&
                    rows->MoveNext()) {
                    EXPECT_EQ(static_cast<int>(kRouters), rows->GetInt(0));
                    ++reads;
                }
                own->GetLastDBError();
                own->GetDatabaseFileName();
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    });
    const Rows disturbed = RunRules(processor);
    while (reads < kThreads * 4) {
        std::this_thread::yield();
    }
    done = true;
    readers.join();
    EXPECT_EQ(alone, disturbed);
    EXPECT_LT(33U, alone.size()) << "routers of one id are findings";
}

TEST_F(CThreadsTest, OneRulesProcessorAtATimeRuns) {
    const auto processor = NewDatabase(Transactional);
    ASSERT_TRUE(Fill(*processor, "whole"));
    for (const DBOperations made : {CreateResultIdTable, CreateResultsTable, CreateRulesTable}) {
        ASSERT_TRUE(Run(*processor, made));
    }
    const auto other = NewProcessor(Normal);
    ASSERT_TRUE(Run(*other, openDB));
    const auto load = [&] { return CRulesProcessor(other, _bstr_t()).LoadRules(_bstr_t()); };
    auto first = std::make_unique<CRulesProcessor>(processor, _bstr_t());
    ASSERT_TRUE(first->LoadRules(_bstr_t()) && load()) << "one thread may have several";
    ASSERT_TRUE(first->LoadRules(_bstr_t()) && first->Execute());
    constexpr char kAll[] =
        "SELECT count(*) FROM Rules UNION ALL "
        "SELECT count(*) FROM ValidationResults";
    const Rows before = RowsOf(*processor->GetDatabase(), kAll);
    std::jthread([&] {
        CRulesProcessor second(other, _bstr_t());
        const bool refused[] = {second.Initialize(),
                                second.LoadRules(_bstr_t()),
                                second.ToTable(),
                                second.Execute(),
                                second.PreProcess({}),
                                second.PostProcess(_bstr_t(), _bstr_t(), 0, 0, 0, _bstr_t()),
                                second.ExecuteExport(_bstr_t(), 0, 0, 0, _bstr_t())};
        EXPECT_EQ(0, std::count(std::begin(refused), std::end(refused), true));
        EXPECT_NE(std::string::npos, other->GetLastDBError().find(kRulesRefused))
            << other->GetLastDBError();
    }).join();
    EXPECT_EQ(before, RowsOf(*processor->GetDatabase(), kAll));
    first.reset();
    std::jthread([&] { EXPECT_TRUE(load()) << other->GetLastDBError(); }).join();
}

TEST_F(CThreadsTest, ValidatorsOnThreadsSayWhatOneSays) {
    const _bstr_t schema = NewProcessor(Normal)->GetXsd();
    const char* const files[] = {"clean_landscape.xml", "faulty_landscape.xml",
                                 "faulty_include.xml", "no such file"};
    const auto validate = [&](const char* file) {
        const std::string path = std::string(EXAMPLES_DIR "/") + file;
        _bstr_t message;
        const bool valid =
            CXmlXsdValidator(true).Validate(false, path.c_str(), path.c_str(), schema, message);
        return std::to_string(valid) + std::string(message);
    };
    std::vector<std::string> alone;
    for (const char* file : files) {
        alone.push_back(validate(file));
    }
    EXPECT_EQ('1', alone[0][0]);
    EXPECT_EQ('0', alone[1][0]);
    OnThreads(kThreads, [&](int number) {
        for (std::size_t turn = 0; turn < 12; ++turn) {
            const std::size_t file = (turn + static_cast<std::size_t>(number)) % alone.size();
            EXPECT_EQ(alone[file], validate(files[file])) << files[file];
        }
    });
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
