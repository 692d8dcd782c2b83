// SPDX-License-Identifier: Apache-2.0
// Generated landscapes full of faults, through the whole run: every row must hold what the file
// says, and the findings must be those of an independent reading of the rules.
#include "landscape_writer.h"
#include "small_landscape.h"
#include "support/rule_oracle.h"
#include "tool/database_reader.h"
#include "tool/scratch_folder.h"
#include "validate_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

namespace LandscapeValidator::Testing {
namespace {

using namespace Nax::FrontEnd::XMLDB::Bench;
using namespace Nax::FrontEnd::XMLDB::Testing;

constexpr std::uint64_t kSeeds = 60;

std::string RunOn(const CScratchFolder& scratch, const SLandscapeModel& model) {
    for (const SModelFile& file : model.files) {
        scratch.Write(file.name, ToXml(file));
    }
    SOptions options;
    options.files = {scratch.Path(model.files.front().name)};
    options.outputFolder = scratch.Path("report");
    std::ostringstream out;
    std::ostringstream err;
    const ExitCode exitCode = RunValidate(options, out, err);
    EXPECT_NE(exitCode, ExitCode::Failure) << err.str();
    EXPECT_EQ(err.str(), "");
    return scratch.Path("report/UILandscape.db");
}

/// Failed results that name no entry stand under "no file" once the report is written.
std::vector<SExpectedFinding> AsReported(std::vector<SExpectedFinding> findings) {
    static const std::set<int> kErrorRules = {8, 9, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28};
    for (SExpectedFinding& finding : findings) {
        if (finding.uuid.empty() && kErrorRules.contains(finding.ruleId)) {
            finding.fileIndex = -1;
        }
    }
    std::sort(findings.begin(), findings.end());
    return findings;
}

std::vector<SExpectedFinding> ReadFindings(const std::string& database) {
    std::vector<SExpectedFinding> findings;
    for (const auto& row : ReadRows(database,
                                    "SELECT RuleId, UUID, file_id, ResultDescription FROM "
                                    "ValidationResults WHERE ResultId IN ('0', '2', '5', '6') "
                                    "AND CAST(RuleId AS INTEGER) >= 0")) {
        findings.push_back({std::stoi(row[0].value_or("-2")), row[1].value_or(""),
                            std::stoi(row[2].value_or("-2")), row[3].value_or("")});
    }
    std::sort(findings.begin(), findings.end());
    return findings;
}

std::string Describe(const std::vector<SExpectedFinding>& findings) {
    std::ostringstream text;
    for (const SExpectedFinding& finding : findings) {
        text << "  rule " << finding.ruleId << " file " << finding.fileIndex << " uuid '"
             << finding.uuid << "': " << finding.description << '\n';
    }
    return text.str();
}

std::vector<SExpectedFinding> Missing(const std::vector<SExpectedFinding>& from,
                                      const std::vector<SExpectedFinding>& in) {
    std::vector<SExpectedFinding> missing;
    std::set_difference(from.begin(), from.end(), in.begin(), in.end(),
                        std::back_inserter(missing));
    return missing;
}

TEST(GeneratedLandscapes, FindingsAgreeWithTheIndependentReading) {
    std::map<int, int> rulesSeen;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        const CScratchFolder scratch;
        const SLandscapeModel model = GenerateSmallLandscape(seed);
        const auto found = ReadFindings(RunOn(scratch, model));
        const auto expected = AsReported(ExpectedFindings(model));
        ASSERT_EQ(found, expected) << "seed " << seed << "\nnot found:\n"
                                   << Describe(Missing(expected, found)) << "too many:\n"
                                   << Describe(Missing(found, expected));
        for (const SExpectedFinding& finding : found) {
            ++rulesSeen[finding.ruleId];
        }
    }
    EXPECT_EQ(rulesSeen.size(), 33U) << "the landscapes do not provoke every rule";
}

std::string TableOf(EKind kind) {
    static const std::map<EKind, std::string> kTables = {{EKind::Service, "Services"},
                                                         {EKind::Workspace, "Workspaces"},
                                                         {EKind::Node, "Nodes"},
                                                         {EKind::Item, "Items"},
                                                         {EKind::Messageserver, "Messageservers"},
                                                         {EKind::Router, "Routers"},
                                                         {EKind::Ldap, "LDAPS"},
                                                         {EKind::Webdispatcher, "Webdispatchers"}};
    return kTables.at(kind);
}

/// The rows of one repository as texts that compare: file, then the known columns by name.
std::vector<std::string> StoredRows(const std::string& database, EKind kind,
                                    const std::vector<std::string>& columns) {
    std::string sql = "SELECT file_id";
    for (const std::string& column : columns) {
        sql += ", \"" + (column == "transaction" ? "trans" : column) + "\"";
    }
    std::vector<std::string> texts;
    for (const auto& row : ReadRows(database, sql + " FROM " + TableOf(kind))) {
        std::string text;
        for (const auto& value : row) {
            text += value ? "[" + *value + "]" : "NULL";
        }
        texts.push_back(text);
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

std::vector<std::string> ModelRows(const std::vector<SRuleRow>& rows,
                                   const std::vector<std::string>& columns) {
    std::vector<std::string> texts;
    for (const SRuleRow& row : rows) {
        std::string text = "[" + std::to_string(row.fileIndex) + "]";
        for (const std::string& column : columns) {
            const auto value = row.Column(column);
            text += value ? "[" + *value + "]" : "NULL";
        }
        texts.push_back(text);
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

TEST(GeneratedLandscapes, RowsHoldWhatTheFilesSay) {
    for (std::uint64_t seed = 1; seed <= kSeeds / 3; ++seed) {
        const CScratchFolder scratch;
        const SLandscapeModel model = GenerateSmallLandscape(seed);
        const std::string database = RunOn(scratch, model);
        for (const auto& [kind, rows] : TablesOf(model)) {
            std::map<std::string, int> names;
            for (const SRuleRow& row : rows) {
                for (const auto& [name, value] : row.columns) {
                    names[name] += name != "vendor_hint" ? 1 : 0;
                }
            }
            std::vector<std::string> columns;
            for (const auto& [name, count] : names) {
                if (count > 0) {
                    columns.push_back(name);
                }
            }
            EXPECT_EQ(StoredRows(database, kind, columns), ModelRows(rows, columns))
                << "seed " << seed << ", " << TableOf(kind);
        }
    }
}

void CollectMemos(const SModelEntry& entry, std::vector<std::string>& memos) {
    if (entry.memo && entry.kind == EKind::Service) {
        memos.push_back(*entry.memo);
    }
}

TEST(GeneratedLandscapes, MemosAreStoredUnaltered) {
    std::size_t seen = 0;
    for (std::uint64_t seed = 1; seed <= kSeeds / 3; ++seed) {
        const CScratchFolder scratch;
        const SLandscapeModel model = GenerateSmallLandscape(seed);
        std::vector<std::string> expected;
        for (const SModelFile& file : model.files) {
            for (const SModelEntry& entry : file.entries) {
                CollectMemos(entry, expected);
            }
        }
        const std::string database = RunOn(scratch, model);
        for (const char* sql :
             {"SELECT \"\" FROM Services WHERE \"\" IS NOT NULL", "SELECT \"\" FROM Memos"}) {
            std::vector<std::string> stored;
            for (const auto& row : ReadRows(database, sql)) {
                stored.push_back(row[0].value_or("NULL"));
            }
            std::sort(stored.begin(), stored.end());
            std::sort(expected.begin(), expected.end());
            EXPECT_EQ(stored, expected) << "seed " << seed << ", " << sql;
        }
        seen += expected.size();
    }
    EXPECT_GT(seen, 10U) << "the landscapes hold hardly any memos";
}

} // namespace
} // namespace LandscapeValidator::Testing
