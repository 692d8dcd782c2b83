// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files and times. Paths are narrow UTF-8. Every operation may be called from any thread, throws
// nothing but std::bad_alloc, and leaves its reason in GetLastError when it fails.
#include "platform/basic_types.h"

#include <ctime>
#include <string>

/// Broken-down time; the fields count as people do (month 1 to 12).
struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

/// Copies a file with its access rights and last write time. An existing target is replaced unless
/// `failIfExists` is true. The copy is made beside the target and renamed when it is complete, so
/// on failure the target is as it was. A target that is no regular file is refused.
BOOL CopyFileA(const char* source, const char* target, BOOL failIfExists) noexcept;

/// Removes a file; refuses folders.
BOOL DeleteFileA(const char* path) noexcept;

namespace Nax::FrontEnd::XMLDB {

/// The system's text for an error code of GetLastError; empty when the code is unknown.
std::string SystemMessage(DWORD code);

/// `name` inside `folder`; an empty folder gives the bare name.
std::string JoinPath(const std::string& folder, const std::string& name);

/// Creates a folder and all its missing parents; true when it is there afterwards.
bool CreateFolders(const std::string& path);

/// Last write time of a readable regular file in UTC. `time` is untouched on failure.
bool GetLastWriteTime(const std::string& path, SYSTEMTIME* time);

/// The local time now.
std::tm LocalTimeNow() noexcept;

} // namespace Nax::FrontEnd::XMLDB
