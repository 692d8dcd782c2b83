// SPDX-License-Identifier: Apache-2.0
#include "file_list.h"
#include "include_resolver.h"
#include "tool/scratch_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace LandscapeValidator::Testing {
namespace {

TEST(FileList, IncludesAreFoundByEveryFormOfTheirUrl) {
    const CScratchFolder scratch;
    const std::string main = scratch.Write("a/main.xml", "<Landscape/>");
    scratch.Write("a/plain.xml", "");
    scratch.Write("a/with space.xml", "");
    scratch.Write("a/100%25.xml", "");
    scratch.Write("a/sub/deep.xml", "");
    scratch.Write("beside.xml", "");
    const struct {
        std::string url;
        std::string path;       ///< under the scratch folder; empty for one that is not followed
        std::string shown = {}; ///< the URL of one that is not followed
    } kCases[] = {
        {"plain.xml", "a/plain.xml"},
        {"./sub/../plain.xml", "a/plain.xml"},
        {"with%20space.xml", "a/with space.xml"},
        {"100%25.xml", "a/100%25.xml"},
        {"sub\\deep.xml", "a/sub/deep.xml"},
        {"../beside.xml", "beside.xml"},
        {"missing.xml", "a/missing.xml"},
        {"file://" + scratch.Path("a/with%20space.xml"), "a/with space.xml"},
        {"file://localhost" + scratch.Path("beside.xml"), "beside.xml"},
        {"FILE:" + scratch.Path("beside.xml"), "beside.xml"},
        {"http://landscape.example/central.xml", "", "http://landscape.example/central.xml"},
        {"HTTPS://u:p@Landscape.example:443/a/../b c.xml#d", "",
         "https://landscape.example/b%20c.xml"},
        {"ftp://landscape.example/central.xml", "", "ftp://landscape.example/central.xml"},
        {"http://", "", "http://"},
    };
    for (const auto& testCase : kCases) {
        CFileList files;
        files.AddCommandLineFile(main);
        files.AddInclude(files[0], {testCase.url, std::nullopt, "Central", 3});
        ASSERT_EQ(files.GetCount(), 2U) << testCase.url;
        const std::string expected = testCase.path.empty() ? "" : scratch.Path(testCase.path);
        EXPECT_EQ(files[1].path, expected) << testCase.url;
        EXPECT_EQ(files[1].url, testCase.path.empty() ? testCase.shown : expected);
        EXPECT_EQ(files[1].name, "Central");
        EXPECT_EQ(files[1].includedBy, main);
    }
}

TEST(FileList, OneFileUnderManyNamesIsListedOnce) {
    const CScratchFolder scratch;
    const std::string main = scratch.Write("main.xml", "");
    scratch.Write("other.xml", "");
    std::filesystem::create_symlink(scratch.Path("other.xml"), scratch.Path("link.xml"));
    CFileList files;
    files.AddCommandLineFile(main);
    files.AddCommandLineFile(scratch.Path("./main.xml"));
    for (const char* url : {"other.xml", "./other.xml", "link.xml", "main.xml", "gone.xml",
                            "./gone.xml", "http://h/x.xml", "http://h/x.xml"}) {
        files.AddInclude(files[0], {url, std::nullopt, std::nullopt, 1});
    }
    std::vector<std::string> urls;
    for (std::size_t index = 0; index < files.GetCount(); ++index) {
        EXPECT_EQ(files[index].index, static_cast<int>(index));
        urls.push_back(files[index].url);
    }
    EXPECT_EQ(urls, (std::vector<std::string>{main, scratch.Path("other.xml"),
                                              scratch.Path("gone.xml"), "http://h/x.xml"}));
    for (const char* url : {" ", "file:"}) {
        EXPECT_EQ(ResolveInclude("main.xml", false, url, {}).path, ".") << url;
    }
}

} // namespace
} // namespace LandscapeValidator::Testing
