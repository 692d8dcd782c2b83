// SPDX-License-Identifier: Apache-2.0
#include "support/file_utils.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>
#include <vector>

#include "scratch.h"
#include "write_limit.h"

using Nax::FrontEnd::XMLDB::Utils::CFUtils;

namespace {

void SetTime(const std::string& path, std::time_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST(FileUtils, WrittenContentReadsBackUnaltered) {
    const CScratchFolder folder;
    const std::string path = folder.File("\xC3\xBC.txt");
    const std::string contents[] = {"first, and longer", "", std::string("\0\r\n\x1A\xFF", 5),
                                    std::string(300000, 'z')};
    for (const std::string& content : contents) {
        EXPECT_NE(CFUtils::ToFile(path, content), 0);
        EXPECT_EQ(CFUtils::FromFile(path), content) << "text of " << content.size();
        EXPECT_NE(CFUtils::ToFile(path, content.data(), content.size()), 0);
        EXPECT_EQ(CFUtils::FromFile(path), content) << "bytes of " << content.size();
    }
}

TEST(FileUtils, FilesThatCannotBeOpenedAreFailures) {
    const CScratchFolder folder;
    const std::string paths[] = {folder.File("missing/file"), folder.Path(), ""};
    for (const std::string& path : paths) {
        EXPECT_EQ(CFUtils::ToFile(path, "text"), 0) << path;
        EXPECT_EQ(CFUtils::ToFile(path, "text", 4), 0) << path;
        EXPECT_EQ(CFUtils::FromFile(path), "") << path;
    }
}

TEST(FileUtils, FailedWriteIsReportedAndLeavesNoHalfFile) {
    const CScratchFolder folder;
    const std::string path = folder.Write("report", "old");
    {
        const CWriteLimit limit(4096);
        EXPECT_EQ(CFUtils::ToFile(path, std::string(100000, 'x')), 0);
        EXPECT_NE(CFUtils::ToFile(folder.File("small"), std::string(4096, 'x')), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(CFUtils::ToFile("/dev/full", "x"), 0);
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

TEST(FileUtils, WritersTakeTurns) {
    const CScratchFolder folder;
    const std::string path = folder.File("shared");
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (char letter = 'a'; letter < 'e'; ++letter) {
        threads.emplace_back([&path, letter] {
            for (int i = 0; i < 20; ++i) {
                CFUtils::ToFile(path, std::string(50000, letter));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string content = ReadAll(path);
    EXPECT_EQ(content, std::string(50000, content.front()));
}

TEST(FileUtils, FileTimeTextIsPaddedWithBlanks) {
    const CScratchFolder folder;
    const std::string path = folder.Write("file", "");
    constexpr struct {
        std::time_t seconds;
        const char* text;
    } kCases[] = {
        {1709449509, " 3. 3.2024   7-05-09"},
        {1703980799, "30.12.2023  23-59-59"},
        {0, " 1. 1.1970   0-00-00"},
    };
    const CEnvironmentValue zone("TZ", "America/New_York");
    for (const auto& test : kCases) {
        SetTime(path, test.seconds);
        EXPECT_EQ(CFUtils::GetFileTimeText(path), test.text);
    }
    EXPECT_EQ(CFUtils::GetFileTimeText(folder.File("missing")), "Error");
    EXPECT_EQ(CFUtils::GetFileTimeText(folder.Path()), "Error");
}

TEST(FileUtils, ReportBackupNameCarriesTheReportsTime) {
    const CScratchFolder folder;
    const std::string report = folder.Write("ReportBackup.zip", "zip");
    SetTime(report, 1709449509);
    EXPECT_EQ(CFUtils::GetReportBackupName("/reports", report),
              "/reports/ReportBackup.zip_ 3. 3.2024   7-05-09_.zip");
    EXPECT_EQ(CFUtils::GetReportBackupName("/reports", folder.File("missing")), "");
}

} // namespace
