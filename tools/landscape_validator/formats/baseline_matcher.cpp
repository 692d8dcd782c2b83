// SPDX-License-Identifier: Apache-2.0
#include "formats/baseline_matcher.h"

#include "file_list.h"
#include "findings.h"
#include "formats/file_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace LandscapeValidator {

namespace {

const std::string kNoFile;

/// No text of a finding holds the character that divides the parts.
std::string MakeKey(int rule, std::string_view file, std::string_view uuid, std::string_view text) {
    std::string key = std::to_string(rule);
    for (const std::string_view part : {file, uuid, text}) {
        key += '\0';
        key += part;
    }
    return key;
}

std::string MakeKey(const SBaselineEntry& entry) {
    return MakeKey(entry.rule, entry.file, entry.uuid, entry.text);
}

std::vector<std::string> NamesFrom(const std::string& folder, const SReport& report) {
    CFileNames names(folder);
    std::vector<std::string> files;
    files.reserve(report.files.size());
    for (const SReportFile& file : report.files) {
        files.push_back(names.Relative(file.name));
    }
    return files;
}

std::set<int> RulesThatRan(const SReport& report) {
    std::set<int> rules;
    for (const SReportRule& rule : report.rules) {
        if (rule.HasRun()) {
            rules.insert(rule.id);
        }
    }
    return rules;
}

} // namespace

bool MayBeKnown(const SReport& report, const SReportFinding& finding) {
    const SReportFile* file = report.FileOf(finding);
    return !finding.couldNotRun && (file == nullptr || !file->failed);
}

CBaselineMatcher::CBaselineMatcher(const SBaseline& baseline, std::string folder)
    : m_baseline(baseline), m_folder(std::move(folder)), m_suppressions(baseline.suppressions) {
    m_left.reserve(baseline.findings.size());
    for (const SBaselineEntry& entry : baseline.findings) {
        m_left[MakeKey(entry)] += entry.count;
    }
}

const std::string& CBaselineMatcher::FileOf(const SReportFinding& finding) const {
    return finding.file < 0 ? kNoFile : m_files[static_cast<std::size_t>(finding.file)];
}

bool CBaselineMatcher::TakeKnown(int ruleId, const SReportFinding& finding) {
    const auto found = m_left.find(MakeKey(ruleId, FileOf(finding), finding.uuid, finding.keyText));
    if (found == m_left.end() || found->second == 0) {
        return false;
    }
    --found->second;
    return true;
}

std::size_t CBaselineMatcher::TakeCounted(const std::string& file, std::size_t wanted) {
    const auto found = m_left.find(MakeKey(kSchemaRuleId, file, {}, SReportFinding::kRestText));
    if (found == m_left.end()) {
        return 0;
    }
    const std::size_t taken = std::min(wanted, found->second);
    found->second -= taken;
    return taken;
}

void CBaselineMatcher::Mark(SReport& report) {
    m_files = NamesFrom(m_folder, report);
    for (SReportFinding& finding : report.findings) {
        const int ruleId = report.RuleOf(finding).id;
        finding.state = BaselineState::New;
        if (const SSuppression* suppression =
                m_suppressions.Find(ruleId, FileOf(finding), finding)) {
            finding.state = BaselineState::Suppressed;
            finding.reason = suppression->reason;
        } else if (finding.violation != SReportFinding::kRest && MayBeKnown(report, finding) &&
                   TakeKnown(ruleId, finding)) {
            finding.state = BaselineState::Known;
        }
    }
    MarkCounted(report);
}

void CBaselineMatcher::MarkCounted(SReport& report) {
    for (SReportFinding& finding : report.findings) {
        if (finding.violation == SReportFinding::kRest && finding.IsNew()) {
            const std::size_t left = finding.count - TakeCounted(FileOf(finding), finding.count);
            if (left == 0) {
                finding.state = BaselineState::Known;
            } else if (left < finding.count) {
                finding.count = left;
                finding.text = report.texts.emplace_back(
                    fmt::format("{} {}", left, SReportFinding::kRestText));
            }
        }
    }
    for (SReportFinding& finding : report.findings) {
        if (finding.violation >= 0 && finding.IsNew() && MayBeKnown(report, finding) &&
            TakeCounted(FileOf(finding), 1) == 1) {
            finding.state = BaselineState::Known;
        }
    }
}

bool CBaselineMatcher::HadAllFiles() const {
    const std::set<std::string_view> read(m_files.begin(), m_files.end());
    std::set<std::string_view> seen;
    return std::all_of(
        m_baseline.findings.begin(), m_baseline.findings.end(), [&](const SBaselineEntry& entry) {
            std::error_code error;
            return entry.file.empty() || read.count(entry.file) != 0 ||
                   !seen.insert(entry.file).second || IsRemoteUrl(entry.file) ||
                   !std::filesystem::exists(std::filesystem::path(m_folder) / entry.file, error);
        });
}

void CBaselineMatcher::FindGone(SReport& report) const {
    if (!report.IsWhole()) {
        return;
    }
    const std::set<int> rules = RulesThatRan(report);
    std::map<std::string_view, FileStatus> files;
    for (std::size_t index = 0; index < m_files.size(); ++index) {
        files[m_files[index]] = report.files[index].status;
    }
    const bool all = HadAllFiles();
    const auto checked = [&](int rule, const std::string& file) {
        const auto found = files.find(file);
        return rules.count(rule) != 0 &&
               (found == files.end()
                    ? all
                    : rule == kSchemaRuleId || found->second != FileStatus::Skipped);
    };
    std::set<std::string> told;
    for (const SBaselineEntry& entry : m_baseline.findings) {
        std::string key = MakeKey(entry);
        const std::size_t left = m_left.at(key);
        if (left > 0 && checked(entry.rule, entry.file) && told.insert(std::move(key)).second) {
            report.gone.push_back(entry);
            report.gone.back().count = left;
        }
    }
    for (const SSuppression* entry : m_suppressions.GetUnused()) {
        if (checked(entry->rule, entry->file.value_or(kNoFile))) {
            report.unused.push_back(*entry);
        }
    }
}

SBaseline MakeBaseline(const SReport& report, const std::string& folder, const SBaseline& earlier,
                       std::vector<SSuppression> suppressions) {
    SBaseline baseline;
    baseline.suppressions = std::move(suppressions);
    CSuppressions covered(baseline.suppressions);
    const std::vector<std::string> files = NamesFrom(folder, report);
    std::unordered_map<std::string, std::size_t> places;
    const auto add = [&](SBaselineEntry entry) {
        const auto [found, isNew] = places.try_emplace(MakeKey(entry), baseline.findings.size());
        if (isNew) {
            baseline.findings.push_back(std::move(entry));
        } else {
            baseline.findings[found->second].count += entry.count;
        }
    };
    for (const SReportFinding& finding : report.findings) {
        const int rule = report.RuleOf(finding).id;
        const std::string& file =
            finding.file < 0 ? kNoFile : files[static_cast<std::size_t>(finding.file)];
        if (MayBeKnown(report, finding) && covered.Find(rule, file, finding) == nullptr) {
            add({rule, file, std::string(finding.uuid), std::string(finding.keyText),
                 finding.total});
        }
    }
    std::set<std::string_view> unread;
    for (std::size_t index = 0; index < files.size(); ++index) {
        if (!report.files[index].IsRead()) {
            unread.insert(files[index]);
        }
    }
    const std::set<int> rules = RulesThatRan(report);
    for (const SBaselineEntry& entry : earlier.findings) {
        const bool kept = unread.count(entry.file) != 0 || rules.count(entry.rule) == 0;
        if (kept && places.count(MakeKey(entry)) == 0) {
            add(entry);
        }
    }
    return baseline;
}

void RemoveGone(SBaseline& baseline, const std::vector<SBaselineEntry>& gone) {
    std::unordered_map<std::string, std::size_t> surplus;
    for (const SBaselineEntry& entry : gone) {
        surplus[MakeKey(entry)] += entry.count;
    }
    for (SBaselineEntry& entry : baseline.findings) {
        const auto found = surplus.find(MakeKey(entry));
        if (found != surplus.end()) {
            const std::size_t removed = std::min(found->second, entry.count);
            entry.count -= removed;
            found->second -= removed;
        }
    }
    std::erase_if(baseline.findings, [](const SBaselineEntry& entry) { return entry.count == 0; });
}

} // namespace LandscapeValidator
