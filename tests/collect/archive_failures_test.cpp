// SPDX-License-Identifier: Apache-2.0
// Full disks, cancelled collections, hanging queries and taken names: an archive is whole or the
// earlier one stays.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>

#include "archive_fixture.h"
#include "processor/support_collector.h"
#include "write_limit.h"

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

namespace fs = std::filesystem;

constexpr char kEarlier[] = "an earlier archive";

/// Text that does not get smaller.
std::string Noise(std::size_t size) {
    std::minstd_rand random(1);
    std::string text(size, '\0');
    for (char& character : text) {
        character = static_cast<char>(random() >> 8U);
    }
    return text;
}

class CFailingArchiveTest : public CArchiveTest {
protected:
    CFailingArchiveTest() {
        WriteOldArchives();
        Write("win/naxmsg.ini", Noise(200000));
        Write("config/NAX/Common/small", "small");
        Write("config/NAX/Common/noise", Noise(60000));
        Write("data/NAX/DEXA/DexaOptions.xml", Noise(60000));
    }
    void WriteOldArchives() const {
        for (const auto& [name, text] :
             {std::pair("LandscapeValidation.zip", kEarlier), {"old.zip", "over 30 days old"}}) {
            Write(std::string("collect here/") + name, text);
            fs::last_write_time(In(name),
                                fs::file_time_type::clock::now() - std::chrono::hours(24 * 31));
        }
    }
    void ExpectEarlierArchive(const std::string& message) const {
        EXPECT_EQ(ReadAll(In("LandscapeValidation.zip")), kEarlier) << message;
    }
};

TEST_F(CFailingArchiveTest, AFullDiskLeavesTheEarlierArchive) {
    for (const rlim_t limit : {0U, 1U, 10U, 500U, 65000U, 115000U}) {
        SSupportReport report;
        WriteOldArchives();
        {
            const CWriteLimit full(limit);
            report = CollectSupportFiles(Request());
        }
        EXPECT_NE(report.failure, "") << limit;
        ExpectEarlierArchive("limit " + std::to_string(limit));
        // Cleaning up makes room.
        EXPECT_EQ(report.removed, std::vector<std::string>{"old.zip"}) << limit;
        EXPECT_EQ(Names(), std::set<std::string>{"LandscapeValidation.zip"}) << limit;
    }
    {
        // Room for the archive, none for one file: best effort.
        const CWriteLimit full(130000);
        const SSupportReport report = CollectSupportFiles(Request());
        EXPECT_EQ(report.failure, "");
    }
    EXPECT_EQ(Unpack("Sys_files").size(), 0U);
    EXPECT_EQ(Unpack("NAX_Common").size(), 2U);
}

TEST_F(CFailingArchiveTest, ACancelledCollectionLeavesTheEarlierArchive) {
    int calls = 0;
    int cancelAt = 1;
    SSupportRequest request = Request();
    request.isCancelled = [&] { return ++calls >= cancelAt; };
    int cancelled = 0;
    for (;; ++cancelAt, ++cancelled) {
        calls = 0;
        const SSupportReport report = CollectSupportFiles(request);
        if (report.failure.empty()) {
            break;
        }
        EXPECT_EQ(report.failure, "The collection was cancelled") << cancelAt;
        ExpectEarlierArchive("cancelled at " + std::to_string(cancelAt));
        EXPECT_EQ(Names(), (std::set<std::string>{"LandscapeValidation.zip", "old.zip"}));
    }
    EXPECT_GT(cancelled, 20);
    EXPECT_EQ(Unpack("Sys_files").size(), 1U);
}

TEST_F(CFailingArchiveTest, WhatAKilledCollectionLeftDoesNotGetIn) {
    Write("collect here/LandscapeValidation.zip.part", "half");
    Write("collect here/LandscapeValidation.zip.part.a1B2c3", "half");
    Write("collect here/LandscapeValidation.zip.partner/x", "a folder of somebody else");
    Write("collect here/LandscapeValidation.zip.part of mine", "a file of somebody else");
    Write("collect here/LandscapeValidation.zip.parts", "a file of somebody else");
    Write("collect here/Registry/NaxLandscapeRegistryConfig.txt", "left over");
    Write("collect here/Database/left over", "left over");
    EXPECT_EQ(CollectSupportFiles(Request()).failure, "");
    EXPECT_EQ(Names(), (std::set<std::string>{
                           "LandscapeValidation.zip", "LandscapeValidation.zip.part of mine",
                           "LandscapeValidation.zip.partner", "LandscapeValidation.zip.parts"}));
    EXPECT_EQ(Unpack("Registry").at("NaxLandscapeRegistryConfig.txt"), "");
    EXPECT_EQ(Unpack("Database").size(), 0U);
}

TEST_F(CFailingArchiveTest, TakenNamesLoseNothing) {
    Write("elsewhere/precious", "precious");
    fs::create_directory_symlink(m_folder.File("elsewhere"), In("Database"));
    Write("collect here/Registry", "a file");
    Write("collect here/Sys_files/mine", "mine");
    SSupportRequest request = Request();
    request.keepExistingFolders = true;
    const SSupportReport refused = CollectSupportFiles(request);
    for (const char* name : {"Database'", "Sys_files'", "Registry'"}) {
        EXPECT_NE(refused.failure.find(name), std::string::npos) << refused.failure;
    }
    EXPECT_EQ(ListSupportFiles(request).failure, refused.failure);
    EXPECT_EQ(ReadAll(In("Sys_files/mine")), "mine");
    EXPECT_EQ(ReadAll(In("LandscapeValidation.zip")), kEarlier);

    // A host that lets the collection have its folders loses those, but nothing behind a link.
    const SSupportReport report = CollectSupportFiles(Request());
    EXPECT_EQ(report.failure, "");
    EXPECT_EQ(report.warnings.size(), 2U);
    EXPECT_EQ(ReadAll(In("Registry")), "a file");
    EXPECT_EQ(ReadAll(m_folder.File("elsewhere/precious")), "precious");
    EXPECT_EQ(Unpack("NAX_Common").size(), 2U);
    EXPECT_EQ(Unpack().count("Database/"), 0U);
}

/// A killed process is gone, or waits as a zombie for the system to take note.
bool IsRunning(const std::string& pid) {
    const std::string status = ReadAll("/proc/" + pid + "/stat");
    return !status.empty() && status.find(") Z ") == std::string::npos;
}

TEST_F(CFailingArchiveTest, AHangingQueryIsAbandonedAndTheNextOneStarts) {
    Write("reg",
          "#!/bin/sh\n[ \"$4\" != LandscapeMigrationState ] && exec echo \"$@\"\n"
          "sleep 1000 &\necho $! >'" +
              m_folder.File("pid") + "'\nwait\n");
    fs::permissions(m_folder.File("reg"), fs::perms::owner_all);
    const CEnvironmentValue program("NAXFEWXMLDB_REG", m_folder.File("reg").c_str());
    const SSupportRequest request = Request();
    const auto start = std::chrono::steady_clock::now();
    const SSupportReport report = CSupportCollector(request, 1000).Collect();
    const auto taken = std::chrono::steady_clock::now() - start;

    EXPECT_EQ(report.failure, "");
    EXPECT_EQ(report.warnings,
              std::vector<std::string>{R"(reg query HKEY_CURRENT_USER\Software\NAX\NAXLogon )"
                                       "/v LandscapeMigrationState: no answer within 1000 "
                                       "milliseconds"});
    EXPECT_GE(taken, std::chrono::seconds(1));
    EXPECT_LT(taken, std::chrono::seconds(9));
    const std::string pid = ReadAll(m_folder.File("pid"));
    ASSERT_FALSE(pid.empty());
    EXPECT_FALSE(IsRunning(pid.substr(0, pid.size() - 1)));
    const std::string answers = Unpack("Registry").at("NaxLandscapeRegistryConfig.txt");
    EXPECT_EQ(std::count(answers.begin(), answers.end(), '\n'), 9);
    EXPECT_TRUE(answers.starts_with(
        "query HKEY_LOCAL_MACHINE\\SOFTWARE\\NAX\\NAXLogon /v LandscapeFormatEnabled\n"))
        << answers;
}

TEST_F(CFailingArchiveTest, AQueryProgramThatIsNotThereIsTold) {
    const CEnvironmentValue program("NAXFEWXMLDB_REG", m_folder.File("none").c_str());
    const SSupportReport report = CollectSupportFiles(Request());
    EXPECT_EQ(report.failure, "");
    EXPECT_EQ(report.warnings.size(), 10U);
}

TEST_F(CFailingArchiveTest, APipeAsRegistryFileHoldsNothingUp) {
    fs::create_directories(m_folder.File("config/naxfewxmldb"));
    ASSERT_EQ(::mkfifo(m_folder.File("config/naxfewxmldb/registry.ini").c_str(), 0600), 0);
    EXPECT_EQ(CollectSupportFiles(Request()).failure, "");
    EXPECT_EQ(Unpack("Registry").at("NaxLandscapeRegistryConfig.txt"), "");
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
