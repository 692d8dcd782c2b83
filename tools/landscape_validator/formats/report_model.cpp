// SPDX-License-Identifier: Apache-2.0
#include "formats/report_model.h"

#include "findings.h"

#include <fmt/format.h>

#include <algorithm>

namespace LandscapeValidator {

const char* FileStatusName(FileStatus status) {
    switch (status) {
        case FileStatus::Valid:
            return "valid";
        case FileStatus::Invalid:
            return "invalid";
        case FileStatus::Unreadable:
            return "unreadable";
        case FileStatus::Skipped:
            return "skipped";
        case FileStatus::NotChecked:
            break;
    }
    return "notChecked";
}

std::string SReportFinding::Fingerprint() const {
    return fmt::format("{:016x}-{}", content, copy);
}

bool SReport::IsWhole() const {
    const auto read = [](const SReportFile& file) {
        return file.IsRead() || file.status == FileStatus::Skipped;
    };
    return std::all_of(files.begin(), files.end(), read) &&
           std::all_of(rules.begin(), rules.end(), [](const SReportRule& r) { return r.couldRun; });
}

const SReportFile* SReport::FileOf(const SReportFinding& finding) const {
    return finding.file < 0 ? nullptr : &files[static_cast<std::size_t>(finding.file)];
}

std::string RuleIdText(int ruleId) {
    return ruleId == kSchemaRuleId ? "schema" : std::to_string(ruleId);
}

} // namespace LandscapeValidator
