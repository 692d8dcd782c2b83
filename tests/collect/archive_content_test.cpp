// SPDX-License-Identifier: Apache-2.0
// What is in an archive, byte for byte, as another program unpacks it.
#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>

#include "archive_fixture.h"

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

namespace fs = std::filesystem;
using Content = std::map<std::string, std::string>;
using Pairs = std::vector<std::pair<_bstr_t, _bstr_t>>;

const Content kEmptyFolders = {
    {"Database/", ""},    {"Landscape_files/", ""},
    {"NAX_Common/", ""},  {"LogonServerConfigCache/", ""},
    {"Sys_files/", ""},   {"DEXA_user/", ""},
    {"DEXA_shared/", ""}, {"Registry/", ""},
};

constexpr char kRegistry[] = R"([HKLM\SOFTWARE\NAX\NAXLogon]
LandscapeFormatEnabled = 1
[HKLM\SOFTWARE\Wow6432Node\NAX\NAXLogon]
LandscapeFormatEnabled = dword:0000001f
[HKCU\Software\NAX\NAXLogon]
LandscapeMigrationState = "done today"
LandscapeFormatEnabled = 0
Other = secret
[HKCU\Software\NAX\NAXLogon\Options]
CoreLandscapeFileOnServer = \\server\share\core.xml
)";

// In the order of the queries, not of the file.
constexpr char kAnswers[] =
    "\r\nHKEY_LOCAL_MACHINE\\SOFTWARE\\NAX\\NAXLogon\r\n"
    "    LandscapeFormatEnabled    REG_DWORD    0x1\r\n\r\n"
    "\r\nHKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\NAX\\NAXLogon\r\n"
    "    LandscapeFormatEnabled    REG_DWORD    0x1f\r\n\r\n"
    "\r\nHKEY_CURRENT_USER\\Software\\NAX\\NAXLogon\r\n"
    "    LandscapeFormatEnabled    REG_DWORD    0x0\r\n\r\n"
    "\r\nHKEY_CURRENT_USER\\Software\\NAX\\NAXLogon\r\n"
    "    LandscapeMigrationState    REG_SZ    done today\r\n\r\n"
    "\r\nHKEY_CURRENT_USER\\Software\\NAX\\NAXLogon\\Options\r\n"
    "    CoreLandscapeFileOnServer    REG_SZ    \\\\server\\share\\core.xml\r\n\r\n";

TEST_F(CArchiveTest, EverythingGoesInUnderItsName) {
    Content expected = kEmptyFolders;
    const auto write = [&](const std::string& file, const std::string& name,
                           const std::string& text) {
        Write(file, text);
        expected[name] = text;
    };
    const std::string bytes("\r\n\0\xFF\x1A", 5);
    write("config/NAX/Common/NAXUILandscape.xml", "NAX_Common/NAXUILandscape.xml", bytes);
    write("config/NAX/Common/empty", "NAX_Common/empty", "");
    write("config/NAX/Common/\xC3\x9Cn\xC3\xAF.txt", "NAX_Common/\xC3\x9Cn\xC3\xAF.txt", "x");
    write("config/NAX/LogonServerConfigCache/big", "LogonServerConfigCache/big",
          std::string(300000, 'y'));
    write("config/NAX/DEXA/DexaOptions.xml", "DEXA_user/DexaOptions.xml", "<user/>");
    write("data/NAX/DEXA/DexaOptions.xml", "DEXA_shared/DexaOptions.xml", "<shared/>");
    write("win/naxmsg.ini", "Sys_files/naxmsg.ini", "[Message]");
    write("win/naxroute.ini", "Sys_files/naxroute.ini", "[Router]");
    write("win/system32/drivers/etc/services", "Sys_files/services", "naxdp00 3200/tcp");
    Write("config/NAX/Common/folder/below", "folders are not gone into");
    Write("config/NAX/DEXA/other.xml", "not asked for");
    Write("config/naxfewxmldb/registry.ini", kRegistry);
    Write("collect here/output.log", "removed");
    Write("collect here/kept.txt", "kept");
    expected["Registry/NaxLandscapeRegistryConfig.txt"] = kAnswers;
    expected["Landscape_files/a.xml"] = "later <\xC3\xBC>\r\n";
    expected["Landscape_files/b.xml"] = std::string("nul\0in", 6);
    expected["Landscape_files/unnamed"] = "out";
    const auto processor = NewDatabase(Normal);
    expected["Database/UILandscape.db"] = ReadAll(DatabaseFile());
    timespec times[2] = {{1709449509, 0}, {1709449509, 0}};
    ::utimensat(AT_FDCWD, m_folder.File("win/naxmsg.ini").c_str(), times, 0);

    wchar_t withZero[] = L"nul\0in";
    const Pairs files = {{"/x/a.xml", "earlier"},
                         {R"(C:\y\a.xml)", "later <\xC3\xBC>\r\n"},
                         {"b.xml", _bstr_t(SysAllocStringLen(withZero, 6), false)},
                         {"../..", "out"}};
    ASSERT_TRUE(CDBProcessor::CollectSupportFiles(processor, In("").c_str(), files));

    const Content content = Unpack();
    for (const auto& [name, text] : expected) {
        ASSERT_EQ(content.count(name), 1U) << name;
        EXPECT_EQ(content.at(name), text) << name;
    }
    EXPECT_EQ(content.size(), expected.size());
    struct stat status = {};
    ASSERT_EQ(::stat(m_folder.File("unpacked/Sys_files/naxmsg.ini").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1709449509);
    ASSERT_EQ(::stat(In("LandscapeValidation.zip").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(Names(), (std::set<std::string>{"LandscapeValidation.zip", "kept.txt"}));
}

TEST_F(CArchiveTest, WithNothingThereAllFoldersAreInIt) {
    Content expected = kEmptyFolders;
    expected["Registry/NaxLandscapeRegistryConfig.txt"] = "";
    ASSERT_TRUE(CDBProcessor::CollectSupportFiles(NewProcessor(Normal), In("").c_str(), {}));
    Content content = Unpack();
    content.erase("Database/UILandscape.db"); // the name of an earlier test's file, where it stands
    EXPECT_EQ(content, expected);
    EXPECT_FALSE(CDBProcessor::CollectSupportFiles(nullptr, In("none").c_str(), {}));
    EXPECT_FALSE(CDBProcessor::CollectSupportFiles(nullptr, _bstr_t(), {}));
}

TEST_F(CArchiveTest, TheSealAsksForTheKey) {
    Write("win/naxmsg.ini", "[Message]");
    ASSERT_EQ(CollectSupportFiles(Request()).failure, "");
    const std::string archive =
        "'" + In("LandscapeValidation.zip") + "' </dev/null >/dev/null 2>&1";
    EXPECT_EQ(std::system(("7z t -pnax " + archive).c_str()), 0);
    EXPECT_NE(std::system(("7z t -pabc " + archive).c_str()), 0);
}

TEST_F(CArchiveTest, WhatIsNoPlainFileStaysOutAndIsTold) {
    Write("secret", "secret");
    Write("config/NAX/Common/good", "good");
    Write("config/NAX/DEXA/DexaOptions.xml/is a folder", "");
    Write("landscape.xml", "followed");
    fs::create_symlink(m_folder.File("secret"), m_folder.File("config/NAX/Common/link"));
    fs::create_symlink(m_folder.File("none"), m_folder.File("config/NAX/Common/dangling"));
    fs::create_directory_symlink(m_folder.File("config"), m_folder.File("config/NAX/Common/loop"));
    ASSERT_EQ(::mkfifo(m_folder.File("config/NAX/Common/pipe").c_str(), 0600), 0);
    fs::create_symlink(m_folder.File("landscape.xml"), m_folder.File("named.xml"));
    SSupportRequest request = Request();
    request.files = {{m_folder.File("named.xml"), {}, {}}, {m_folder.File("none.xml"), {}, {}}};

    // A list tells the same as a collection, and writes nothing.
    const SSupportReport list = ListSupportFiles(request);
    EXPECT_TRUE(Names().empty());
    const SSupportReport report = CollectSupportFiles(request);
    ASSERT_EQ(report.failure, "");
    ASSERT_EQ(list.files.size(), report.files.size());
    Content problems;
    for (std::size_t index = 0; index < report.files.size(); ++index) {
        const SSupportFile& file = report.files[index];
        EXPECT_EQ(list.files[index].name + list.files[index].problem, file.name + file.problem);
        if (!file.problem.empty()) {
            problems[file.name] = (file.found ? "there: " : "") + file.problem;
        }
    }
    const std::string link = "there: It is a symbolic link, which is not followed";
    const std::string missing = "No such file or directory";
    EXPECT_EQ(problems, (Content{{"Database/UILandscape.db", missing},
                                 {"Landscape_files/none.xml", missing},
                                 {"LogonServerConfigCache/", missing},
                                 {"NAX_Common/dangling", link},
                                 {"NAX_Common/link", link},
                                 {"NAX_Common/loop", link},
                                 {"NAX_Common/pipe", "there: It is no regular file"},
                                 {"DEXA_user/DexaOptions.xml", "there: It is a folder"},
                                 {"DEXA_shared/DexaOptions.xml", missing},
                                 {"Sys_files/naxmsg.ini", missing},
                                 {"Sys_files/naxroute.ini", missing},
                                 {"Sys_files/services", missing}}));
    EXPECT_EQ(Unpack("NAX_Common"), (Content{{"good", "good"}}));
    EXPECT_EQ(Unpack("Landscape_files"), (Content{{"named.xml", "followed"}}));
    EXPECT_EQ(Unpack("DEXA_user"), Content{});
}

TEST_F(CArchiveTest, NamesThatBecomeOneAreAllKept) {
    SSupportRequest request = Request();
    request.keepEqualNames = true;
    for (const char* path : {"a/l.xml", R"(a\L.xml)", "C:l.xml", "con.xml", "b/_con.xml"}) {
        request.files.push_back({path, std::string("text of ") + path, {}});
    }
    ASSERT_EQ(CollectSupportFiles(request).failure, "");
    EXPECT_EQ(Unpack("Landscape_files"), (Content{{"l.xml", "text of a/l.xml"},
                                                  {"L (2).xml", R"(text of a\L.xml)"},
                                                  {"l (3).xml", "text of C:l.xml"},
                                                  {"_con.xml", "text of con.xml"},
                                                  {"_con (2).xml", "text of b/_con.xml"}}));
}

TEST_F(CArchiveTest, OldArchivesAreRemoved) {
    const auto now = fs::file_time_type::clock::now();
    const struct {
        const char* name;
        int days;
        bool stays;
    } cases[] = {
        {"31.zip", 31, false},       {"29.zip", 29, true},      {"31 _.ZIP_ 1_.zip", 31, false},
        {"31.zip.bak", 31, false},   {"31.txt", 31, true},      {"31.zi", 31, true},
        {"31 folder.zip", 31, true}, {"31 link.zip", 31, true}, {"30.zip", 30, true},
    };
    std::set<std::string> expected = {"LandscapeValidation.zip"};
    Write("target", "");
    for (const auto& test : cases) {
        const std::string name = test.name;
        if (name.find("folder") != std::string::npos) {
            fs::create_directory(In(name));
        } else if (name.find("link") != std::string::npos) {
            fs::create_symlink(m_folder.File("target"), In(name));
            fs::last_write_time(m_folder.File("target"), now - std::chrono::hours(24 * test.days));
            expected.insert(name);
            continue;
        } else {
            Write("collect here/" + name, "old");
        }
        // A minute to the young side: the test takes its time.
        fs::last_write_time(In(name),
                            now - std::chrono::hours(24 * test.days) + std::chrono::minutes(1));
        if (test.stays) {
            expected.insert(name);
        }
    }
    EXPECT_EQ(CollectSupportFiles(Request()).removed,
              (std::vector<std::string>{"31 _.ZIP_ 1_.zip", "31.zip", "31.zip.bak"}));
    EXPECT_EQ(Names(), expected);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
