// SPDX-License-Identifier: Apache-2.0
#pragma once

// Folders, searches, and copies that trust nothing about their source. Paths are narrow UTF-8.
// Every operation may be called from any thread and throws nothing but std::bad_alloc.
#include "platform/basic_types.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// What is done when the file itself is a symbolic link; links on the way to it are followed.
enum class LinkRule { Follow, Refuse };

/// What was seen of a file.
struct SFileCheck {
    bool found = true;      ///< false when there is nothing of that name
    std::string problem;    ///< why it cannot be read or copied; empty when it can
    std::uint64_t size = 0; ///< in bytes
};

/// Whether a regular file could be copied. Never waits for a pipe or a device.
SFileCheck CheckRegularFile(const std::string& path, LinkRule links);

/// Copies a regular file as CopyFileA does: rights and last write time kept, the target replaced by
/// a complete copy or left as it was.
SFileCheck CopyRegularFile(const std::string& source, const std::string& target, LinkRule links);

struct SFoundFile {
    std::string name;          ///< without folder
    bool regular = false;      ///< neither folder nor symbolic link nor device
    std::time_t writeTime = 0; ///< of a regular file
};

/// What in `folder` (not below it) a pattern of "*" and "?" matches, in byte order of the names;
/// letter case of ASCII letters does not matter. Empty for a folder that cannot be read; the reason
/// is in GetLastError, which is 0 otherwise.
std::vector<SFoundFile> FindFiles(const std::string& folder, const std::string& pattern);

enum class NameKind { Free, Folder, Other };

/// What stands under a path. A symbolic link is Other, whatever it points to.
NameKind WhatStandsAt(const std::string& path);

/// Creates one folder that only its user may enter. False when it cannot be made or something of
/// that name exists; the reason is in GetLastError.
bool CreatePrivateFolder(const std::string& path);

/// Removes a folder with all its content, silently. Links are removed, what they point to stays.
/// True when there is none afterwards; what is no folder is left alone.
bool RemoveFolder(const std::string& path);

/// Replaces the variables at the front of a native path and its separators:
///   %AppData%      the application-data folder
///   %ProgramData%  $NAXFEWXMLDB_PROGRAMDATA, else the first absolute folder of $XDG_CONFIG_DIRS,
///                  else /etc/xdg
///   %windir%       $NAXFEWXMLDB_WINDIR; else /etc, where %windir%\\system32\\drivers\\etc is /etc
///   too
/// Relative values are ignored. Names of variables match without regard to case. Empty when the
/// path begins with another variable or the folder is not known.
std::string ExpandPath(const std::string& path);

} // namespace Nax::FrontEnd::XMLDB
