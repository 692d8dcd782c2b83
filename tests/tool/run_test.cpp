// SPDX-License-Identifier: Apache-2.0
// Whole runs over hand-made landscapes: what is read, what is followed, what is told.
#include "tool/database_reader.h"
#include "tool/scratch_folder.h"
#include "validate_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace LandscapeValidator::Testing {
namespace {

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string Uuid(int number) {
    std::string digits = std::to_string(number);
    return "00000000-0000-4000-8000-" + std::string(12 - digits.size(), '0') + digits;
}

std::string Landscape(const std::string& content) {
    return std::string(kHead) + "<Landscape updated=\"2026-01-01\">" + content + "</Landscape>";
}

std::string Router(int number, const std::string& attributes = "") {
    return "<Router name=\"r\" router=\"/H/h\" uuid=\"" + Uuid(number) + "\"" + attributes + "/>";
}

std::string Routers(int count, const std::string& attributes = "") {
    std::string text = "<Routers>";
    for (int number = 1; number <= count; ++number) {
        text += Router(number, attributes);
    }
    return text + "</Routers>";
}

/// Services without an item: an info finding each.
std::string Services(int count) {
    std::string text = "<Services>";
    for (int number = 1; number <= count; ++number) {
        text += "<Service type=\"URL\" uuid=\"" + Uuid(1000 + number) + "\"/>";
    }
    return text + "</Services>";
}

std::string Includes(const std::vector<std::string>& urls) {
    std::string text = "<Includes>";
    for (const std::string& url : urls) {
        text += "<Include url=\"" + url + "\" name=\"entry\" description=\"described\"/>";
    }
    return text + "</Includes>";
}

struct SRun {
    ExitCode exitCode = ExitCode::Failure;
    std::string out;
    std::string err;
    std::string database;
};

SRun RunTool(const CScratchFolder& scratch, const std::vector<std::string>& files,
             SOptions options = {}) {
    for (const std::string& file : files) {
        options.files.push_back(scratch.Path(file));
    }
    options.outputFolder = scratch.Path("report");
    std::ostringstream out;
    std::ostringstream err;
    SRun run;
    run.exitCode = RunValidate(options, out, err);
    run.out = out.str();
    run.err = err.str();
    run.database = scratch.Path("report/UILandscape.db");
    return run;
}

std::vector<std::string> Column(const SRun& run, const std::string& sql) {
    std::vector<std::string> values;
    for (const auto& row : ReadRows(run.database, sql)) {
        values.push_back(row[0].value_or("NULL"));
    }
    return values;
}

TEST(Run, IncludesAreFollowedOnceThroughCyclesAndRepeats) {
    const CScratchFolder scratch;
    scratch.Write("main.xml", Landscape(Includes({"sub/a.xml", "b.xml", "sub/a.xml"})));
    scratch.Write("sub/a.xml", Landscape(Includes({"../main.xml", "../b.xml", "c.xml"})));
    scratch.Write("b.xml", Landscape(Includes({"b.xml"}) + Routers(1)));
    scratch.Write("sub/c.xml", Landscape(""));
    const SRun run = RunTool(scratch, {"main.xml"});
    EXPECT_EQ(run.exitCode, ExitCode::Clean) << run.out << run.err;
    EXPECT_EQ(Column(run, "SELECT uri || '|' || indx || '|' || ifnull(name, 'NULL') FROM Files"),
              (std::vector<std::string>{
                  "No explicit files information|-1|NULL", scratch.Path("main.xml") + "|0|NULL",
                  scratch.Path("sub/a.xml") + "|1|entry", scratch.Path("b.xml") + "|2|entry",
                  scratch.Path("sub/c.xml") + "|3|entry"}));
    EXPECT_EQ(Column(run, "SELECT file_id FROM Routers"), std::vector<std::string>{"2"});
}

TEST(Run, UnreachableIncludesAreTold) {
    const struct {
        const char* url;
        ExitCode exitCode;
        const char* told;
    } kCases[] = {
        {"missing.xml", ExitCode::Findings, "No such file"},
        {"folder", ExitCode::Findings, "folder"},
        {"http://landscape.example/x.xml", ExitCode::Clean, "was not followed"},
        {"https://landscape.example/x.xml", ExitCode::Clean, "was not followed"},
    };
    for (const auto& testCase : kCases) {
        const CScratchFolder scratch;
        scratch.Write("main.xml", Landscape(Includes({testCase.url})));
        std::filesystem::create_directory(scratch.Path("folder"));
        const SRun run = RunTool(scratch, {"main.xml"});
        EXPECT_EQ(run.exitCode, testCase.exitCode) << testCase.url << run.out;
        EXPECT_NE(run.out.find(testCase.told), std::string::npos) << testCase.url << run.out;
        EXPECT_EQ(Column(run, "SELECT count(*) FROM Files"), std::vector<std::string>{"3"});
        EXPECT_EQ(Column(run, "SELECT file_id FROM ValidationResults WHERE RuleId = '-1'"),
                  std::vector<std::string>{"1"})
            << testCase.url;
    }
}

TEST(Run, AFileThatIsNotWellFormedLoadsNothingButIsAFinding) {
    const CScratchFolder scratch;
    scratch.Write("main.xml", Landscape(Includes({"broken.xml", "good.xml"})));
    const std::string good = Landscape(Routers(1));
    scratch.Write("good.xml", good);
    scratch.Write("broken.xml", good.substr(0, good.size() - 3));
    const SRun run = RunTool(scratch, {"main.xml"});
    EXPECT_EQ(run.exitCode, ExitCode::Findings);
    EXPECT_EQ(Column(run, "SELECT file_id FROM Routers"), std::vector<std::string>{"2"});
    EXPECT_EQ(Column(run, "SELECT file_id || ResultId FROM ValidationResults WHERE RuleId = '-1'"),
              std::vector<std::string>{"13"});
}

TEST(Run, FilesThatViolateTheSchemaAreLoadedWithoutWhatIsUnknown) {
    const CScratchFolder scratch;
    scratch.Write("main.xml",
                  Landscape("<Unknown a=\"1\"><Routers><Router uuid=\"" + Uuid(1) +
                            "\" name=\"r\" router=\"x\" colour=\"red\"/></Routers></Unknown>"
                            "<x:Router xmlns:x=\"urn:x\" uuid=\"" +
                            Uuid(2) + "\"/>"));
    const SRun run = RunTool(scratch, {"main.xml"});
    EXPECT_EQ(run.exitCode, ExitCode::Findings);
    EXPECT_EQ(Column(run, "SELECT uuid FROM Routers"), std::vector<std::string>{Uuid(1)});
}

TEST(Run, EveryKindOfElementBecomesARow) {
    const CScratchFolder scratch;
    scratch.Write("main.xml",
                  Landscape("<Configuration><Parameter key=\"k\" value=\"v\"/></Configuration>"
                            "<Workspaces><Workspace name=\"w\" uuid=\"" +
                            Uuid(1) + "\"><Node name=\"n\" uuid=\"" + Uuid(2) +
                            "\"><Node name=\"m\" uuid=\"" + Uuid(3) + "\"><Item uuid=\"" + Uuid(4) +
                            "\" serviceid=\"" + Uuid(5) +
                            "\"/></Node></Node></Workspace></Workspaces>"
                            "<Services><Service type=\"URL\" uuid=\"" +
                            Uuid(5) +
                            "\" transaction=\"T\"><Memo xml:space=\"preserve\">one\n &lt;two&gt; "
                            "<![CDATA[f_uuid:'x';]]>"
                            "</Memo></Service></Services>"));
    const SRun run = RunTool(scratch, {"main.xml"});
    EXPECT_EQ(run.exitCode, ExitCode::Clean) << run.out;
    EXPECT_EQ(Column(run, "SELECT updated || file_id FROM Landscape"),
              std::vector<std::string>{"2026-01-010"});
    EXPECT_EQ(Column(run, "SELECT key || value || file_id FROM Parameters"),
              std::vector<std::string>{"kv0"});
    EXPECT_EQ(Column(run, "SELECT file_id FROM Configuration"), std::vector<std::string>{"0"});
    EXPECT_EQ(Column(run, "SELECT parent_id FROM Nodes ORDER BY name DESC"),
              (std::vector<std::string>{Uuid(1), Uuid(2)}));
    EXPECT_EQ(Column(run, "SELECT parent_id FROM Items"), std::vector<std::string>{Uuid(3)});
    EXPECT_EQ(Column(run, "SELECT \"\" || trans FROM Services"),
              std::vector<std::string>{"one\n <two> f_uuid:'x';T"});
}

TEST(Run, ThresholdsGateTheExitCode) {
    const CScratchFolder scratch;
    // Two routers with one uuid: a warning (rule 5), and nothing else.
    scratch.Write("warning.xml", Landscape("<Routers>" + Router(1) + Router(1) + "</Routers>"));
    scratch.Write("clean.xml", Landscape(Routers(1)));
    const struct {
        const char* file;
        Severity failOn;
        ExitCode exitCode;
    } kCases[] = {
        {"warning.xml", Severity::Error, ExitCode::Clean},
        {"warning.xml", Severity::Warning, ExitCode::Findings},
        {"warning.xml", Severity::Info, ExitCode::Findings},
        {"warning.xml", Severity::None, ExitCode::Clean},
        {"clean.xml", Severity::Info, ExitCode::Clean},
    };
    for (const auto& testCase : kCases) {
        SOptions options;
        options.failOn = testCase.failOn;
        const SRun run = RunTool(scratch, {testCase.file}, options);
        EXPECT_EQ(run.exitCode, testCase.exitCode)
            << testCase.file << static_cast<int>(testCase.failOn) << run.out;
    }
}

TEST(Run, TheNewestBackupsStayAndNothingElseIsTouched) {
    const CScratchFolder scratch;
    scratch.Write("main.xml", Landscape(""));
    for (const char* name :
         {"UILandscape.db_01-02-2025 00-00-00_.bak", "UILandscape.db_31-12-2024 23-59-59_.bak",
          "UILandscape.db_02-01-2025 00-00-00_.bak", "UILandscape.db_mine.bak", "notes.bak"}) {
        scratch.Write(std::string("report/") + name, "old");
    }
    SOptions options;
    options.keepBackups = 2;
    EXPECT_EQ(RunTool(scratch, {"main.xml"}, options).exitCode, ExitCode::Clean);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(scratch.Path("report"))) {
        if (entry.path().extension() == ".bak") {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"UILandscape.db_01-02-2025 00-00-00_.bak",
                                               "UILandscape.db_02-01-2025 00-00-00_.bak",
                                               "UILandscape.db_mine.bak", "notes.bak"}));
}

TEST(Run, LongListsAreCappedUnlessAllIsAsked) {
    const CScratchFolder scratch;
    scratch.Write("main.xml", Landscape(Routers(130, " colour=\"x\"") + Services(30)));
    const SRun capped = RunTool(scratch, {"main.xml"});
    EXPECT_NE(capped.out.find("10 of 130 shown; --all"), std::string::npos) << capped.out;
    EXPECT_NE(capped.out.find("10 of 31 shown; --all"), std::string::npos) << capped.out;
    SOptions options;
    options.showAll = true;
    const SRun all = RunTool(scratch, {"main.xml"}, options);
    EXPECT_NE(all.out.find("100 of 130 shown; the others are only counted"), std::string::npos);
    EXPECT_EQ(all.out.find("of 31 shown"), std::string::npos) << all.out;
}

TEST(Run, SchemaViolationsAreShownAsOnThePageAndFailTheRun) {
    const CScratchFolder scratch;
    scratch.Write("main.xml",
                  Landscape("\n<Routers>\n" + Router(1, " colour=\"x\"") + "</Routers>"));
    SOptions options;
    options.writeJson = true;
    const SRun run = RunTool(scratch, {"main.xml"}, options);
    EXPECT_EQ(run.exitCode, ExitCode::Findings);
    for (const char* text : {"0 errors, 1 warning, 0 info findings.", "1 violation of the schema:",
                             "line 4: Attribute \"colour\"", "count as errors for the exit code",
                             "Files by result: Success(0) Error(0) Warning(1) Info(0)"}) {
        EXPECT_NE(run.out.find(text), std::string::npos) << text << "\n" << run.out;
    }
    EXPECT_TRUE(std::filesystem::exists(scratch.Path("report/EllipseResult.json")));
    RunTool(scratch, {"main.xml"});
    EXPECT_FALSE(std::filesystem::exists(scratch.Path("report/EllipseResult.json")))
        << "the file of an earlier run stayed";
}

TEST(Run, AJsonFileThatCannotBeWrittenFailsTheRun) {
    const CScratchFolder scratch;
    scratch.Write("main.xml", Landscape(""));
    std::filesystem::create_directories(scratch.Path("report/FilterAllFiles.json"));
    SOptions options;
    options.writeJson = true;
    const SRun run = RunTool(scratch, {"main.xml"}, options);
    EXPECT_EQ(run.exitCode, ExitCode::Failure);
    EXPECT_NE(run.err.find("'FilterAllFiles.json': Is a directory"), std::string::npos) << run.err;
}

TEST(Run, ForeignTextCannotForgeAViolation) {
    const CScratchFolder scratch;
    scratch.Write("main.xml",
                  Landscape("<Services><Service type=\"x&#10;&lt;/p>&lt;p>&#10;&lt;strong>Issue # 2"
                            "&lt;/strong>: FORGED\" uuid=\"" +
                            Uuid(1) + "\"/></Services>"));
    const SRun run = RunTool(scratch, {"main.xml"});
    const std::vector<std::string> message =
        Column(run, "SELECT ResultDescription FROM ValidationResults WHERE RuleId = '-1'");
    ASSERT_EQ(message.size(), 1U);
    EXPECT_NE(message[0].find("FORGED"), std::string::npos);
    EXPECT_EQ(message[0].find("\n<strong>Issue # 2"), std::string::npos) << message[0];
}

} // namespace
} // namespace LandscapeValidator::Testing
