// SPDX-License-Identifier: Apache-2.0
#include "support/trace.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>
#include <vector>

#include "pattern.h"
#include "scratch.h"
#include "support/format.h"
#include "support/trace_modules.h"

using namespace Nax::FrontEnd::XMLDB;

namespace {

const std::string kStars(80, '*');
const std::string kStamp = "\\([0-9]{2}\\.[0-9]{2}\\.[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\) ";

/// Replaces each time stamp by "<time> " and the program's path by "<program>".
std::string Scrub(const std::string& text) {
    static const CPattern stamp(kStamp);
    static const CPattern program("Program: \t/[^\n]*");
    return program.Replace(stamp.Replace(text, "<time> "), "Program: \t<program>");
}

std::string Banner(const std::string& stamp) {
    return stamp + kStars + "\n" + stamp +
           "****************************  Naxcor, Trace File  ******************************\n" +
           stamp + "** Main trace mode: Error, Warning, Developer Notes and additional data \n" +
           stamp + "** Program: \t<program>\n" + stamp + kStars + "\n\n";
}

class TraceWriterTest : public testing::Test {
protected:
    CScratchFolder m_folder;
    CEnvironmentValue m_traceFolder{"NAXFEWXMLDB_TRACE_DIR", m_folder.Path().c_str()};
};

// Written by a variadic function, as the trace facade does.
NAX_PRINTF_FORMAT(3, 4)
void WriteLine(CNaxPcTrc& writer, TraceKind kind, const char* format, ...) {
    va_list args;
    va_start(args, format);
    writer.Write(kind, format, args);
    va_end(args);
}

TEST_F(TraceWriterTest, LevelDecidesWhatIsWrittenAndHow) {
    struct SCase {
        int level;
        const char* lines; // after the banner; null when there must be no file
    };
    constexpr SCase kCases[] = {
        {0, nullptr},
        {1, "***ERROR***: e 1\n"},
        {3, "***ERROR***: e 1\n"},
        {4, "***ERROR***: e 1\np 2\n\nq\n"},
        {5, "<time> e 1\n<time> p 2\n\n<time> q\n"},
    };
    for (const SCase& test : kCases) {
        SCOPED_TRACE("level " + std::to_string(test.level));
        {
            CNaxPcTrc writer("own.trc", test.level, 0);
            TraceError(&writer, "e %d\n", 1);
            TraceDeveloper(&writer, "p %d\n", 2);
            TraceDeveloper(&writer, "\nq\n");
        }
        const std::string file = m_folder.File("own.trc");
        ASSERT_EQ(std::filesystem::exists(file), test.lines != nullptr);
        if (test.lines != nullptr) {
            const std::string stamp = test.level == 5 ? "<time> " : "";
            EXPECT_EQ(Scrub(ReadAll(file)), Banner(stamp) + test.lines);
        }
        std::filesystem::remove(file);
    }
}

TEST_F(TraceWriterTest, WarningsHaveTheirOwnPrefix) {
    CNaxPcTrc writer("own.trc", 2, 0);
    WriteLine(writer, TraceKind::Warning, "w\n");
    EXPECT_EQ(Scrub(ReadAll(m_folder.File("own.trc"))), Banner("") + "***WARNING*: w\n");
}

TEST_F(TraceWriterTest, TextOfAnyLengthPassesUnaltered) {
    const std::string text = std::string(3 << 20, 'x') + "100%s %n \xC3\xA9";
    CNaxPcTrc writer("own.trc", 4, 0);
    TraceDeveloper(&writer, "%s\n", text.c_str());
    EXPECT_TRUE(ReadAll(m_folder.File("own.trc")).ends_with("\n\n" + text + "\n"));
}

TEST_F(TraceWriterTest, FileNameIsCutAt255Characters) {
    const CNaxPcTrc writer(std::string(300, 'n'), 1, 0);
    EXPECT_EQ(std::string(writer.GetFileName()), std::string(255, 'n'));
}

TEST(TraceWriter, UnusableFolderSendsEverythingToStandardError) {
    const CScratchFolder folder;
    const std::string noFolder = folder.Write("file", "") + "/below";
    const CEnvironmentValue traceFolder("NAXFEWXMLDB_TRACE_DIR", noFolder.c_str());
    CNaxPcTrc writer("own.trc", 1, 0);
    testing::internal::CaptureStderr();
    TraceError(&writer, "e\n");
    EXPECT_EQ(Scrub(testing::internal::GetCapturedStderr()), Banner("") + "***ERROR***: e\n");
}

// Also the case that the thread sanitizer looks at.
TEST_F(TraceWriterTest, LinesOfSeveralThreadsStayWhole) {
    for (const int flags : {0, kTraceSerialised}) {
        {
            CNaxPcTrc writer("own.trc", 4, flags);
            std::vector<std::thread> threads;
            threads.reserve(4);
            for (int number = 0; number < 4; ++number) {
                threads.emplace_back([&writer, number] {
                    for (int i = 0; i < 200; ++i) {
                        TraceDeveloper(&writer, "thread %d line %d end\n", number, i);
                    }
                });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
        }
        const std::string text = Scrub(ReadAll(m_folder.File("own.trc")));
        ASSERT_TRUE(text.starts_with(Banner(""))) << "flags " << flags;
        std::istringstream lines(text.substr(Banner("").size()));
        const CPattern whole("^thread [0-9] line [0-9]+ end$");
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            ASSERT_TRUE(whole.Finds(line)) << line;
        }
        EXPECT_EQ(count, 800) << "flags " << flags;
    }
}

TEST(TraceModules, ListsThisProgramAndItsLibrariesWithVersions) {
    const std::string text = DescribeLoadedModules();
    const std::string header =
        "LOADED MODULES:\n  Name" + std::string(166, ' ') + "   File-Version\n";
    EXPECT_TRUE(text.starts_with(header)) << text;
    EXPECT_TRUE(text.ends_with("\n=== END OF MODULES\n")) << text;
    EXPECT_NE(text.find(GetExecutablePath() + " "), std::string::npos) << text;
    const CPattern runtime("\n  /[^ ]*libstdc\\+\\+\\.so\\.6\\.[0-9.]+ +6\\.[0-9.]+\n");
    EXPECT_TRUE(runtime.Finds(text)) << text;
}

TEST(TraceModules, VersionComesFromTheFileName) {
    constexpr struct {
        const char* path;
        const char* version;
    } kCases[] = {
        {"/usr/lib/libsqlite3.so.0.8.6", "0.8.6"},
        {"/usr/lib/libm.so.6", "6"},
        {"/lib/ld-2.31.so", "2.31"},
        {"/lib-1.0/libdl.so", "no version in the file name"},
        {"/lib/libfoo.so.debug", "no version in the file name"},
        {"/usr/bin/tool", "no version in the file name"},
    };
    for (const auto& test : kCases) {
        EXPECT_EQ(GetFileNameVersion(test.path), test.version) << test.path;
    }
}

/// Runs this program as a process of its own whose trace settings are `level` (null: not set) and
/// the registry in `folder`; gives the lines that it printed.
std::vector<std::string> RunProbe(const CScratchFolder& folder, const char* level) {
    const CEnvironmentValue levelValue("NAXFEWXMLDB_TRACE_LEVEL", level);
    const CEnvironmentValue traceFolder("NAXFEWXMLDB_TRACE_DIR", folder.Path().c_str());
    const CEnvironmentValue config("XDG_CONFIG_HOME", folder.File("config").c_str());
    const std::string output = folder.File("output");
    const std::string command = "'" + GetExecutablePath() + "' --trace-probe > '" + output + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::ifstream file(output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    lines.resize(4);
    return lines;
}

struct SProbeCase {
    const char* environment; // null: not set
    const char* registry;    // null: no file
    int effectiveLevel;
};

void CheckProbe(const SProbeCase& test) {
    const CScratchFolder folder;
    if (test.registry != nullptr) {
        std::filesystem::create_directories(folder.File("config/naxfewxmldb"));
        folder.Write("config/naxfewxmldb/registry.ini",
                     std::string("[Software\\NAX\\NAXLogon\\Options]\nNaxLogonTraceLevel = ") +
                         test.registry + "\n");
    }
    const std::vector<std::string> printed = RunProbe(folder, test.environment);
    EXPECT_EQ(printed[0], Format("NAXfewXmlDb_%.4d_x64.trc", std::stoi(printed[3])));
    const int expectedCalls = test.effectiveLevel >= 4 ? 3 : test.effectiveLevel >= 1 ? 2 : 0;
    EXPECT_EQ(printed[1], std::to_string(expectedCalls)) << "arguments evaluated";
    const std::string trace = folder.File(printed[0]);
    EXPECT_EQ(std::filesystem::exists(trace), test.effectiveLevel > 0);
    const std::string text = ReadAll(trace);
    const auto has = [&text](const std::string& pattern) { return CPattern(pattern).Finds(text); };
    const std::string error = test.effectiveLevel == 5  ? "\n" + kStamp
                              : test.effectiveLevel > 0 ? "\n\\*\\*\\*ERROR\\*\\*\\*: "
                                                        : "never";
    const std::string member = "TID: [0-9]+, Probe::CWorker::Run\\[" + printed[2] + "\\]/[0-9]+: ";
    EXPECT_EQ(has(error + member + "\nfailed [0-9] 100% sure\n"), test.effectiveLevel > 0) << text;
    EXPECT_EQ(has(error + "TID: [0-9]+, Probe::CWorker::RunStatic/[0-9]+: static failed [0-9]\n"),
              test.effectiveLevel > 0)
        << text;
    EXPECT_EQ(has(member + "plain 1\n"), test.effectiveLevel >= 4) << text;
    EXPECT_EQ(
        has("\n\n\n" + std::string(test.effectiveLevel == 5 ? kStamp : "") + "LOADED MODULES:\n"),
        test.effectiveLevel >= 4)
        << text;
}

TEST(ProcessTrace, SettingsComeFromEnvironmentThenRegistry) {
    constexpr SProbeCase kCases[] = {
        {nullptr, nullptr, 0},          {nullptr, "dword:00000000", 0},
        {nullptr, "dword:00000004", 4}, {nullptr, "1", 1},
        {nullptr, "dword:ffffffff", 0}, {"1", "dword:00000004", 1},
        {"0", "dword:00000004", 0},     {"5", nullptr, 5},
        {"loud", "dword:00000001", 1},  {"-2", nullptr, 0},
    };
    for (const SProbeCase& test : kCases) {
        SCOPED_TRACE(std::string("environment ") + (test.environment ? test.environment : "-") +
                     ", registry " + (test.registry ? test.registry : "-"));
        CheckProbe(test);
    }
}

} // namespace
