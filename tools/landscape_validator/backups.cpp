// SPDX-License-Identifier: Apache-2.0
#include "backups.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <fmt/chrono.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

/// The date in a name, rearranged so that texts order as dates; empty for other names.
std::string DateOf(std::string_view name, std::string_view pattern) {
    if (name.size() != pattern.size()) {
        return {};
    }
    std::string digits;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (pattern[at] == '#' && name[at] >= '0' && name[at] <= '9') {
            digits += name[at];
        } else if (pattern[at] != name[at]) {
            return {};
        }
    }
    return digits.substr(4, 4) + digits.substr(2, 2) + digits.substr(0, 2) + digits.substr(8);
}

} // namespace

int RemoveOldFiles(const std::string& folder, std::string_view pattern, int keep) {
    std::vector<std::pair<std::string, fs::path>> backups;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::string date = DateOf(entry->path().filename().string(), pattern);
        std::error_code ignored;
        if (!date.empty() && entry->is_regular_file(ignored)) {
            backups.emplace_back(std::move(date), entry->path());
        }
    }
    std::sort(backups.begin(), backups.end(), std::greater<>());
    int removed = 0;
    for (std::size_t index = static_cast<std::size_t>(keep); index < backups.size(); ++index) {
        removed += fs::remove(backups[index].second, error) ? 1 : 0;
    }
    return removed;
}

bool MoveDatabaseAside(const std::string& database, std::string& reason) {
    std::error_code error;
    const fs::file_type type = fs::symlink_status(database, error).type();
    if (type != fs::file_type::none && type != fs::file_type::regular) {
        return true;
    }
    std::string backup;
    std::time_t second = std::time(nullptr);
    for (fs::file_type taken = type; taken != fs::file_type::not_found;) {
        if (taken == fs::file_type::none) { // also what cannot be told may be a backup
            reason = error.message();
            return false;
        }
        backup = fmt::format("{}_{:%d-%m-%Y %H-%M-%S}_.bak", database, fmt::localtime(second++));
        taken = fs::symlink_status(backup, error).type();
    }
    fs::rename(database, backup, error);
    reason = error ? error.message() : std::string();
    return !error;
}

CEarlierDatabase::CEarlierDatabase(const std::string& database) {
    std::error_code error;
    if (fs::is_regular_file(database, error)) {
        m_database = CDBProcessor(true, Normal, _bstr_t(), _bstr_t()).GetDatabase();
        m_database->Open(database.c_str(), "", "");
    }
}

CEarlierDatabase::~CEarlierDatabase() {
    if (m_database) {
        m_database->Close();
    }
}

void CEarlierDatabase::Lock() {
    if (m_database) {
        m_database->Execute("BEGIN IMMEDIATE");
    }
}

int RemoveOldBackups(const std::string& folder, int keep) {
    return RemoveOldFiles(folder, "UILandscape.db_##-##-#### ##-##-##_.bak", keep);
}

} // namespace LandscapeValidator
