// SPDX-License-Identifier: Apache-2.0
#include "platform/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "scratch.h"
#include "write_limit.h"

using namespace Nax::FrontEnd::XMLDB;

namespace {

TEST(CopyFile, KeepsContentTimeAndRightsAndReplaces) {
    const CScratchFolder folder;
    const std::string source = folder.Write("source", std::string(200001, 'c'));
    const timespec times[2] = {{1000, 0}, {2000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    ASSERT_EQ(::chmod(source.c_str(), 0640), 0);
    const std::string target = folder.Write("target", "earlier");
    ASSERT_EQ(CopyFileA(source.c_str(), target.c_str(), FALSE), TRUE);
    struct stat status = {};
    ASSERT_EQ(::stat(target.c_str(), &status), 0);
    EXPECT_EQ(ReadAll(target), std::string(200001, 'c'));
    EXPECT_EQ(status.st_mtim.tv_sec, 2000000);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_EQ(folder.EntryCount(), 2U);
}

TEST(CopyFile, FailureLeavesTheTargetAsItWas) {
    const CScratchFolder folder;
    const std::string source = folder.Write("source", std::string(100000, 'c'));
    const std::string target = folder.Write("target", "earlier");
    std::filesystem::create_directory(folder.File("folder"));
    const struct {
        std::string source;
        std::string target;
        BOOL failIfExists;
        int error;
    } cases[] = {
        {folder.File("missing"), target, FALSE, ENOENT},
        {folder.Path(), target, FALSE, EISDIR},
        {source, target, TRUE, EEXIST},
        {source, folder.File("none/file"), FALSE, ENOENT},
        {source, source + "/file", FALSE, ENOTDIR},
        {source, folder.File("folder"), FALSE, EISDIR},
        {source, "/dev/full", FALSE, EINVAL},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.source + " -> " + test.target);
        SetLastError(0);
        EXPECT_EQ(CopyFileA(test.source.c_str(), test.target.c_str(), test.failIfExists), FALSE);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(test.error));
    }
    {
        const CWriteLimit limit(65536);
        EXPECT_EQ(CopyFileA(source.c_str(), target.c_str(), FALSE), FALSE);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(EFBIG));
        EXPECT_EQ(CopyFileA(source.c_str(), folder.File("new").c_str(), TRUE), FALSE);
    }
    EXPECT_EQ(ReadAll(target), "earlier");
    EXPECT_EQ(folder.EntryCount(), 3U);
}

TEST(DeleteFile, RemovesFilesOnly) {
    const CScratchFolder folder;
    const std::string file = folder.Write("file", "");
    EXPECT_EQ(DeleteFileA(file.c_str()), TRUE);
    EXPECT_EQ(DeleteFileA(file.c_str()), FALSE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ENOENT));
    EXPECT_EQ(DeleteFileA(folder.Path().c_str()), FALSE);
    EXPECT_TRUE(std::filesystem::exists(folder.Path()));
}

TEST(SystemMessage, KnownCodesHaveTextAndUnknownNone) {
    EXPECT_EQ(SystemMessage(ENOENT), "No such file or directory");
    EXPECT_EQ(SystemMessage(4711), "");
    EXPECT_EQ(SystemMessage(0xFFFFFFFFU), "");
}

TEST(Paths, JoinAndCreate) {
    EXPECT_EQ(JoinPath("/a", "b"), "/a/b");
    EXPECT_EQ(JoinPath("/a/", "b"), "/a/b");
    EXPECT_EQ(JoinPath("", "b"), "b");
    const CScratchFolder folder;
    const std::string file = folder.Write("file", "");
    const struct {
        std::string path;
        int error;
    } cases[] = {
        {folder.File("one/two//three/"), 0},
        {folder.File("one/two"), 0},
        {"/", 0},
        {file + "/below", ENOTDIR},
        {file, ENOTDIR},
        {"", ENOENT},
    };
    for (const auto& test : cases) {
        SetLastError(0);
        EXPECT_EQ(CreateFolders(test.path), test.error == 0) << test.path;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(test.error)) << test.path;
        EXPECT_EQ(std::filesystem::is_directory(test.path), test.error == 0) << test.path;
    }
}

TEST(Times, LocalTimeFollowsTheZone) {
    const CEnvironmentValue zone("TZ", "NAX-05:30");
    ::tzset();
    const std::time_t before = std::time(nullptr);
    std::tm local = LocalTimeNow();
    const std::time_t now = std::mktime(&local);
    EXPECT_GE(now, before);
    EXPECT_LE(now, before + 5);
    EXPECT_EQ(local.tm_gmtoff, 19800);
}

} // namespace
