// SPDX-License-Identifier: Apache-2.0
#include "backups.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPattern = "UILandscape.db_dd-dd-dddd dd-dd-dd_.bak";

/// The date of a backup's name, rearranged so that texts order as dates; empty for other names.
std::string DateOf(const std::string& name) {
    std::string digits;
    for (std::size_t at = 0; at < std::max(name.size(), kPattern.size()); ++at) {
        const char wanted = at < kPattern.size() ? kPattern[at] : '\0';
        const char found = at < name.size() ? name[at] : '\0';
        // The pattern's first letters are the file's own name, which has one such letter too.
        const bool digit = wanted == 'd' && at > kPattern.find('_');
        if (digit && found >= '0' && found <= '9') {
            digits += found;
        } else if (digit || found != wanted) {
            return {};
        }
    }
    return digits.substr(4, 4) + digits.substr(2, 2) + digits.substr(0, 2) + digits.substr(8);
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
