// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "formats/report_model.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace LandscapeValidator {

/// Finds the suppression of a finding. The list must outlive it; one thread at a time.
class CSuppressions {
public:
    explicit CSuppressions(const std::vector<SSuppression>& list);

    /// The first that has nothing against the finding of rule `ruleId` in `file`, which is named as
    /// in the list; null for none. Remembers that it was used.
    const SSuppression* Find(int ruleId, const std::string& file, const SReportFinding& finding);
    std::vector<const SSuppression*> GetUnused() const;

private:
    const std::vector<SSuppression>& m_list;
    std::unordered_map<int, std::vector<std::size_t>> m_byRule;
    std::vector<bool> m_used;
};

/// Adds the suppressions of `from`, a list that names files from `folder` on, to `to`, which names
/// them from `newFolder` on; not those that are there.
void AddMovedSuppressions(const std::vector<SSuppression>& from, const std::string& folder,
                          const std::string& newFolder, std::vector<SSuppression>& to);

} // namespace LandscapeValidator
