// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "formats/baseline.h"
#include "severity.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace LandscapeValidator {

/// How a finding stands to the baseline; None without a baseline.
enum class BaselineState { None, New, Known, Suppressed };

enum class FileStatus {
    Valid,      ///< read, and the schema has nothing against it
    Invalid,    ///< read, with violations of the schema
    Unreadable, ///< missing, unreadable or not well-formed: nothing of it was checked
    Skipped,    ///< included, and not followed
    NotChecked, ///< the run ended before
};

/// "valid", "invalid", "unreadable", "skipped", "notChecked".
const char* FileStatusName(FileStatus status);

/// One file of the run.
struct SReportFile {
    std::string name;       ///< as the user and the summary name it
    std::string path;       ///< from the working folder on; absolute when elsewhere; or a URL
    std::string uri;        ///< the same as URI; relative exactly when `path` is
    bool isRelative = true; ///< whether `path` is
    FileStatus status = FileStatus::NotChecked;
    bool failed = false; ///< named on the command line and not readable
    std::string includedBy;
    long violations = 0; ///< of the schema, also those that are only counted

    bool IsRead() const { return status == FileStatus::Valid || status == FileStatus::Invalid; }
};

struct SReportRule {
    int id = 0; ///< kSchemaRuleId for the schema check, which comes first
    std::string name;
    std::string solution;
    Severity severity = Severity::Error;
    bool couldRun = true;
    bool chosen = true; ///< false for the schema check when it is left out

    bool HasRun() const { return couldRun && chosen; }
};

/// One finding, a schema violation each. Texts live as long as the findings that they came from.
struct SReportFinding {
    static constexpr int kWhole = -1; ///< the finding itself, not one of its violations
    static constexpr int kRest = -2;  ///< the violations that are only counted
    static constexpr char kRestText[] = "more violations of the schema, which are only counted";

    std::size_t source = 0;              ///< its place in SFindings
    int violation = kWhole;              ///< its place in that finding's violations
    std::size_t rule = 0;                ///< its place in SReport::rules
    Severity severity = Severity::Error; ///< as it counts for the exit code
    Severity shown = Severity::Error;    ///< as on the report page
    int file = -1;                       ///< its place in SReport::files; -1 for none
    long line = 0;                       ///< 0 for none
    std::string_view text;
    std::string_view uuid;
    std::string_view keyText;  ///< the text without what changes with line or working folder
    std::size_t total = 1;     ///< more than one only for kRest: how many violations it stands for
    std::size_t count = 1;     ///< how many of them are not known
    bool couldNotRun = false;  ///< the rule failed
    std::uint64_t content = 0; ///< hash of what makes the finding the same one
    std::size_t copy = 1;      ///< counts findings with the same content
    BaselineState state = BaselineState::None;
    std::string_view reason; ///< of a suppression
    bool hidden = false;     ///< less severe than asked for

    bool IsNew() const { return state == BaselineState::None || state == BaselineState::New; }
    std::string Fingerprint() const;
};

/// A step or a file that failed.
struct SReportError {
    std::string message;
    std::string file; ///< that the message is about; may be empty
};

/// Numbers of findings as the formats count them: each violation of the schema is one.
struct SReportCounts {
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t infos = 0;
    std::size_t hidden = 0;     ///< new ones below the severity asked for
    std::size_t known = 0;      ///< in the baseline
    std::size_t suppressed = 0; ///< by an entry with a reason
};

/// Everything that a format tells. Built once, then only read.
struct SReport {
    std::vector<SReportFile> files;
    std::vector<SReportRule> rules;
    std::vector<SReportFinding> findings; ///< most severe first, then by file, rule, line, text
    std::vector<SReportError> errors;
    SReportCounts counts;
    std::size_t entries = 0;
    bool builtInRules = true; ///< the rules with ids of the catalogue are those of the catalogue
    Severity failOn = Severity::Error;
    Severity minSeverity = Severity::Info;
    std::string baseline; ///< name of the baseline file; empty without one
    std::vector<SBaselineEntry> gone;
    std::vector<SSuppression> unused;
    bool pruned = false;           ///< `gone` has been removed from the baseline
    std::deque<std::string> texts; ///< that the findings point to
    ExitCode exitCode = ExitCode::Clean;

    /// True when every file was read or skipped and every rule ran.
    bool IsWhole() const;
    const SReportRule& RuleOf(const SReportFinding& finding) const { return rules[finding.rule]; }
    /// Null for a finding that belongs to no file.
    const SReportFile* FileOf(const SReportFinding& finding) const;
};

/// "8", or "schema".
std::string RuleIdText(int ruleId);

} // namespace LandscapeValidator
