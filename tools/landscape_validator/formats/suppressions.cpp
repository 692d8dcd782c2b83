// SPDX-License-Identifier: Apache-2.0
#include "formats/suppressions.h"

#include "file_list.h"
#include "formats/file_names.h"

#include <algorithm>
#include <filesystem>
#include <tuple>

namespace LandscapeValidator {

CSuppressions::CSuppressions(const std::vector<SSuppression>& list)
    : m_list(list), m_used(list.size()) {
    for (std::size_t index = 0; index < list.size(); ++index) {
        m_byRule[list[index].rule].push_back(index);
    }
}

const SSuppression* CSuppressions::Find(int ruleId, const std::string& file,
                                        const SReportFinding& finding) {
    const auto ofRule = m_byRule.find(ruleId);
    if (ofRule == m_byRule.end()) {
        return nullptr;
    }
    for (const std::size_t index : ofRule->second) {
        const SSuppression& entry = m_list[index];
        if (entry.file.value_or(file) == file && (!entry.uuid || *entry.uuid == finding.uuid) &&
            (!entry.text || *entry.text == finding.text || *entry.text == finding.keyText)) {
            m_used[index] = true;
            return &entry;
        }
    }
    return nullptr;
}

std::vector<const SSuppression*> CSuppressions::GetUnused() const {
    std::vector<const SSuppression*> unused;
    for (std::size_t index = 0; index < m_list.size(); ++index) {
        if (!m_used[index]) {
            unused.push_back(&m_list[index]);
        }
    }
    return unused;
}

void AddMovedSuppressions(const std::vector<SSuppression>& from, const std::string& folder,
                          const std::string& newFolder, std::vector<SSuppression>& to) {
    CFileNames names(newFolder);
    const auto parts = [](const SSuppression& entry) {
        return std::tie(entry.rule, entry.file, entry.uuid, entry.text, entry.reason);
    };
    for (SSuppression entry : from) {
        if (entry.file && !entry.file->empty() && !IsRemoteUrl(*entry.file)) {
            entry.file = names.Relative((std::filesystem::path(folder) / *entry.file).string());
        }
        if (std::none_of(to.begin(), to.end(),
                         [&](const SSuppression& other) { return parts(other) == parts(entry); })) {
            to.push_back(std::move(entry));
        }
    }
}

} // namespace LandscapeValidator
