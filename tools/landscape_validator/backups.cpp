// SPDX-License-Identifier: Apache-2.0
#include "backups.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <system_error>
#include <utility>
#include <vector>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

/// The date of a backup's name, rearranged so that texts order as dates; empty for other names.
std::string DateOf(const std::string& name) {
    static const std::regex kBackup(
        R"(UILandscape\.db_(\d\d)-(\d\d)-(\d{4}) (\d\d)-(\d\d)-(\d\d)_\.bak)");
    std::smatch parts;
    if (!std::regex_match(name, parts, kBackup)) {
        return {};
    }
    return parts.str(3) + parts.str(2) + parts.str(1) + parts.str(4) + parts.str(5) + parts.str(6);
}

} // namespace

int RemoveOldBackups(const std::string& folder, int keep) {
    std::vector<std::pair<std::string, fs::path>> backups;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        std::string date = DateOf(entry.path().filename().string());
        if (!date.empty() && entry.is_regular_file(error)) {
            backups.emplace_back(std::move(date), entry.path());
        }
    }
    std::sort(backups.begin(), backups.end(), std::greater<>());
    int removed = 0;
    for (std::size_t index = static_cast<std::size_t>(keep); index < backups.size(); ++index) {
        removed += fs::remove(backups[index].second, error) ? 1 : 0;
    }
    return removed;
}

} // namespace LandscapeValidator
