// SPDX-License-Identifier: Apache-2.0
#include "platform/known_folders.h"

#include <gtest/gtest.h>
#include <naxfewxmldb/known_folders.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "scratch.h"

using namespace Nax::FrontEnd::XMLDB;

namespace {

TEST(KnownFolders, FollowTheEnvironment) {
    const std::string userHome = ::getpwuid(::getuid())->pw_dir;
    const struct {
        int csidl;
        const char* variable;
        const char* value;
        const char* home;
        std::string expected;
    } cases[] = {
        {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", "/d", "/h", "/d"},
        {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", nullptr, "/h", "/h/.local/share"},
        {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", "", "/h/", "/h/.local/share"},
        {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", "relative", "/h", "/h/.local/share"},
        {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", nullptr, nullptr, userHome + "/.local/share"},
        {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", nullptr, "relative", ""},
        {CSIDL_APPDATA, "XDG_CONFIG_HOME", "/c", "/h", "/c"},
        {CSIDL_APPDATA, "XDG_CONFIG_HOME", "./c", "/h", "/h/.config"},
        {CSIDL_APPDATA, "XDG_CONFIG_HOME", nullptr, "", userHome + "/.config"},
        {0x23, "XDG_CONFIG_HOME", "/c", "/h", ""},
    };
    for (const auto& test : cases) {
        const CEnvironmentValue variable(test.variable, test.value);
        const CEnvironmentValue home("HOME", test.home);
        EXPECT_EQ(FindKnownFolder(test.csidl), test.expected)
            << test.variable << '=' << (test.value != nullptr ? test.value : "(not set)");
    }
}

TEST(KnownFolders, AreCreatedForTheirUserOnly) {
    const CScratchFolder folder;
    const CEnvironmentValue variable("XDG_DATA_HOME", folder.File("a/b").c_str());
    EXPECT_EQ(GetKnownFolder(CSIDL_LOCAL_APPDATA), folder.File("a/b"));
    struct stat status = {};
    ASSERT_EQ(::stat(folder.File("a/b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    const CEnvironmentValue file("XDG_DATA_HOME", folder.Write("file", "").c_str());
    EXPECT_EQ(GetKnownFolder(CSIDL_LOCAL_APPDATA), "");
}

TEST(KnownFolders, TheBufferFormHasALimit) {
    const CScratchFolder folder;
    std::array<char, MAX_PATH> buffer = {};
    const std::string fits = folder.Path() + '/' + std::string(258 - folder.Path().size(), 'x');
    const struct {
        int csidl;
        std::string path;
        HRESULT result;
    } cases[] = {
        {CSIDL_APPDATA, fits, S_OK},
        {CSIDL_APPDATA, fits + 'x', E_FAIL},
        {0x23, fits, E_INVALIDARG},
    };
    for (const auto& test : cases) {
        std::memset(buffer.data(), 'z', buffer.size());
        const CEnvironmentValue variable("XDG_CONFIG_HOME", test.path.c_str());
        EXPECT_EQ(SHGetFolderPathA(nullptr, test.csidl, nullptr, 0, buffer.data()), test.result);
        EXPECT_EQ(std::string(buffer.data()), test.result == S_OK ? test.path : "");
    }
}

TEST(KnownFolders, TheHostMayOverrideEach) {
    const CEnvironmentValue data("XDG_DATA_HOME", "/d");
    const CEnvironmentValue config("XDG_CONFIG_HOME", "/c");
    OverrideKnownFolder(KnownFolder::LocalAppData, "/own/\xC3\xA9");
    EXPECT_EQ(FindKnownFolder(CSIDL_LOCAL_APPDATA), "/own/\xC3\xA9");
    EXPECT_EQ(FindKnownFolder(CSIDL_APPDATA), "/c");
    OverrideKnownFolder(KnownFolder::AppData, L"/other");
    EXPECT_EQ(FindKnownFolder(CSIDL_APPDATA), "/other");
    OverrideKnownFolder(KnownFolder::LocalAppData, _bstr_t());
    OverrideKnownFolder(KnownFolder::AppData, "");
    EXPECT_EQ(FindKnownFolder(CSIDL_LOCAL_APPDATA), "/d");
    EXPECT_EQ(FindKnownFolder(CSIDL_APPDATA), "/c");
}

} // namespace
