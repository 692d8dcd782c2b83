// SPDX-License-Identifier: Apache-2.0
#include "formats/file_names.h"

#include "file_list.h"
#include "platform/brief_path.h"

#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

std::string Real(const fs::path& folder) {
    std::error_code error;
    const fs::path absolute = fs::absolute(folder.empty() ? fs::path(".") : folder, error);
    const fs::path real = fs::weakly_canonical(absolute, error);
    // A folder that is not there may keep the "." that it was named with.
    const fs::path normal = (error ? absolute : real).lexically_normal();
    return (normal.has_filename() ? normal : normal.parent_path()).string();
}

} // namespace

CFileNames::CFileNames(const std::string& folder) : m_folder(Real(folder)) {}

std::string CFileNames::Absolute(const std::string& path) {
    const fs::path normal = Nax::FrontEnd::XMLDB::BriefPath(path);
    const std::string parent = normal.parent_path().string();
    auto [found, isNew] = m_folders.try_emplace(parent);
    if (isNew) {
        found->second = Real(parent);
    }
    return (fs::path(found->second) / normal.filename()).generic_string();
}

std::string CFileNames::Relative(const std::string& path) {
    if (path.empty() || IsRemoteUrl(path)) {
        return path;
    }
    return fs::path(Absolute(path)).lexically_relative(m_folder).generic_string();
}

bool IsBelow(const std::string& relative) {
    return relative != ".." && !relative.starts_with("../");
}

} // namespace LandscapeValidator
