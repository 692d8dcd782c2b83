// SPDX-License-Identifier: Apache-2.0
#include "platform/folders.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string_view>

#include "platform/environment.h"
#include "platform/files.h"
#include "platform/known_folders.h"
#include "registry_file.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

bool IsAbsolute(std::string_view path) noexcept {
    return path.starts_with('/');
}

std::string ProgramDataFolder() {
    std::string folder = GetEnvironmentText("NAXFEWXMLDB_PROGRAMDATA").value_or("");
    std::string list =
        IsAbsolute(folder) ? folder + ':' : GetEnvironmentText("XDG_CONFIG_DIRS").value_or("");
    list += ":/etc/xdg";
    for (std::size_t from = 0; from < list.size();) {
        const std::size_t end = std::min(list.find(':', from), list.size());
        folder = list.substr(from, end - from);
        if (IsAbsolute(folder)) {
            break;
        }
        from = end + 1;
    }
    return folder;
}

/// Removes `prefix` from the front of `text`, without regard to case.
bool TakePrefix(std::string_view& text, std::string_view prefix) {
    if (!EqualRegistryNames(text.substr(0, prefix.size()), prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

} // namespace

std::vector<SFoundFile> FindFiles(const std::string& folder, const std::string& pattern) {
    std::vector<SFoundFile> found;
    const std::unique_ptr<DIR, CloseFolder> entries(::opendir(folder.c_str()));
    SetLastError(entries == nullptr ? static_cast<DWORD>(errno) : 0);
    if (entries == nullptr) {
        return found;
    }
    for (;;) {
        errno = 0; // the end and a failure look the same otherwise
        const dirent* entry = ::readdir(entries.get());
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = entry->d_name;
        if (name == "." || name == ".." ||
            ::fnmatch(pattern.c_str(), entry->d_name, FNM_CASEFOLD) != 0) {
            continue;
        }
        struct stat status = {};
        SFoundFile file;
        file.name = name;
        file.regular =
            ::lstat(JoinPath(folder, file.name).c_str(), &status) == 0 && S_ISREG(status.st_mode);
        file.writeTime = status.st_mtim.tv_sec;
        found.push_back(std::move(file));
    }
    if (errno != 0) {
        SetLastError(static_cast<DWORD>(errno));
        return {};
    }
    std::sort(found.begin(), found.end(),
              [](const SFoundFile& a, const SFoundFile& b) { return a.name < b.name; });
    return found;
}

NameKind WhatStandsAt(const std::string& path) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? NameKind::Free : NameKind::Other;
    }
    return S_ISDIR(status.st_mode) ? NameKind::Folder : NameKind::Other;
}

bool CreatePrivateFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) != 0) {
        SetLastError(static_cast<DWORD>(errno));
        return false;
    }
    return true;
}

bool RemoveFolder(const std::string& path) {
    std::error_code ignored;
    if (WhatStandsAt(path) == NameKind::Folder) {
        std::filesystem::remove_all(path, ignored);
    }
    return WhatStandsAt(path) != NameKind::Folder;
}

std::string ExpandPath(const std::string& path) {
    std::string_view rest = path;
    std::string folder;
    if (TakePrefix(rest, "%AppData%")) {
        folder = FindKnownFolder(CSIDL_APPDATA);
    } else if (TakePrefix(rest, "%ProgramData%")) {
        folder = ProgramDataFolder();
    } else if (TakePrefix(rest, "%windir%")) {
        folder = GetEnvironmentText("NAXFEWXMLDB_WINDIR").value_or("");
        if (!IsAbsolute(folder)) {
            folder = "/etc";
            TakePrefix(rest, "\\system32\\drivers\\etc");
        }
    } else if (path.starts_with('%')) {
        return {};
    } else {
        return path;
    }
    std::string below(rest);
    std::replace(below.begin(), below.end(), '\\', '/');
    return folder.empty() ? folder : folder + below;
}

} // namespace Nax::FrontEnd::XMLDB
