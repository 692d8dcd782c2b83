// SPDX-License-Identifier: Apache-2.0
#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "folder_creation.h"

namespace {

thread_local DWORD lastError = 0;

bool FailWith(int code) noexcept {
    SetLastError(static_cast<DWORD>(code));
    return false;
}

} // namespace

DWORD GetLastError() noexcept {
    return lastError;
}

void SetLastError(DWORD code) noexcept {
    lastError = code;
}

BOOL DeleteFileA(const char* path) noexcept {
    if (::unlink(path) != 0) {
        FailWith(errno);
        return FALSE;
    }
    return TRUE;
}

namespace Nax::FrontEnd::XMLDB {

std::string SystemMessage(DWORD code) {
    const char* text = ::strerrordesc_np(static_cast<int>(code));
    return text == nullptr ? std::string() : std::string(text);
}

std::string JoinPath(const std::string& folder, const std::string& name) {
    if (folder.empty()) {
        return name;
    }
    return folder.back() == '/' ? folder + name : folder + '/' + name;
}

bool CreateFoldersWithMode(const std::string& path, unsigned int mode) {
    if (path.empty()) {
        return FailWith(ENOENT);
    }
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        const std::string part = path.substr(0, end);
        struct stat status = {};
        if (::stat(part.c_str(), &status) == 0) {
            if (!S_ISDIR(status.st_mode)) {
                return FailWith(ENOTDIR);
            }
        } else if (::mkdir(part.c_str(), static_cast<mode_t>(mode)) != 0 && errno != EEXIST) {
            return FailWith(errno);
        }
    }
    return true;
}

bool CreateFolders(const std::string& path) {
    return CreateFoldersWithMode(path, 0777U);
}

bool GetLastWriteTime(const std::string& path, SYSTEMTIME* time) {
    // Not blocking, so that a pipe of that name cannot hold the caller up.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return FailWith(errno);
    }
    struct stat status = {};
    const int result = ::fstat(file, &status);
    const int reason = errno;
    ::close(file);
    if (result != 0) {
        return FailWith(reason);
    }
    std::tm utc = {};
    if (!S_ISREG(status.st_mode) || ::gmtime_r(&status.st_mtim.tv_sec, &utc) == nullptr ||
        utc.tm_year < -299 || utc.tm_year > 28927) {
        return FailWith(EINVAL);
    }
    *time = {
        static_cast<WORD>(utc.tm_year + 1900), static_cast<WORD>(utc.tm_mon + 1),
        static_cast<WORD>(utc.tm_wday),        static_cast<WORD>(utc.tm_mday),
        static_cast<WORD>(utc.tm_hour),        static_cast<WORD>(utc.tm_min),
        static_cast<WORD>(utc.tm_sec),         static_cast<WORD>(status.st_mtim.tv_nsec / 1000000)};
    return true;
}

std::tm LocalTimeNow() noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    ::localtime_r(&now, &local);
    return local;
}

} // namespace Nax::FrontEnd::XMLDB
