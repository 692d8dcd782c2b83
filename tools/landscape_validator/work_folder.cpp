// SPDX-License-Identifier: Apache-2.0
#include "work_folder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

constexpr char kFolderName[] = ".landscape-validator.work";

std::string Because(const fs::path& file, const std::string& cause) {
    return "'" + file.filename().string() + "': " + cause;
}

/// A folder stands in the way of a file, which only renaming would tell, when others have moved.
bool CanBeReplaced(const fs::path& target) {
    std::error_code error;
    return !fs::is_directory(fs::symlink_status(target, error));
}

std::vector<fs::path> FilesIn(const fs::path& folder, std::error_code& error) {
    std::vector<fs::path> files;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        files.push_back(entry->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

CWorkFolder::CWorkFolder(std::string outputFolder)
    : m_output(std::move(outputFolder)), m_path((fs::path(m_output) / kFolderName).string()) {}

CWorkFolder::~CWorkFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

bool CWorkFolder::Make(std::string& reason) {
    std::error_code error;
    fs::remove_all(m_path, error);
    for (const std::string& folder : {m_path, GetReportFolder(), GetSupportFolder()}) {
        if (!error) {
            fs::create_directory(folder, error);
        }
    }
    if (!error) {
        fs::permissions(m_path, fs::perms::owner_all, error);
    }
    reason = error ? error.message() : std::string();
    return !error;
}

std::string CWorkFolder::GetReportFolder() const {
    return (fs::path(m_path) / "report").string();
}

std::string CWorkFolder::GetSupportFolder() const {
    return (fs::path(m_path) / "support").string();
}

bool CWorkFolder::MoveReport(const std::vector<std::string>& outdated, const std::string& last,
                             std::string& reason) const {
    std::error_code error;
    std::vector<fs::path> files = FilesIn(GetReportFolder(), error);
    std::stable_partition(files.begin(), files.end(),
                          [&last](const fs::path& file) { return file.filename() != last; });
    if (error) {
        reason = error.message();
        return false;
    }
    for (const fs::path& file : files) {
        if (!CanBeReplaced(m_output / file.filename())) {
            reason = Because(file, "Is a directory");
            return false;
        }
    }
    for (const std::string& name : outdated) {
        const fs::path old = fs::path(m_output) / name;
        std::error_code unknown;
        if (fs::is_regular_file(fs::symlink_status(old, unknown)) &&
            !fs::exists(fs::path(GetReportFolder()) / name, unknown) && !fs::remove(old, error)) {
            reason = Because(old, error.message());
            return false;
        }
    }
    for (const fs::path& file : files) {
        fs::rename(file, m_output / file.filename(), error);
        if (error) {
            reason = Because(file, error.message());
            return false;
        }
    }
    return true;
}

} // namespace LandscapeValidator
