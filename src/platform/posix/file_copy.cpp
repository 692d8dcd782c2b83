// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>
#include <string>

#include "descriptor.h"
#include "platform/files.h"
#include "platform/folders.h"

using namespace Nax::FrontEnd::XMLDB;

namespace {

bool CopyContent(int source, int target) noexcept {
    std::array<char, 65536> block;
    for (;;) {
        const ssize_t count = ::read(source, block.data(), block.size());
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0 && !WriteAll(target, block.data(), static_cast<std::size_t>(count))) {
            return false;
        }
    }
}

/// Sets errno and returns false when the copy must not replace what is at `target`.
bool MayReplace(const char* target, bool failIfExists) noexcept {
    struct stat status = {};
    if (::lstat(target, &status) != 0) {
        return errno == ENOENT;
    }
    if (failIfExists) {
        errno = EEXIST;
        return false;
    }
    // A link is replaced, what it points to stays.
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    return true;
}

/// Renaming replaces what is there, a link refuses to.
bool MoveIntoPlace(const char* copy, const char* target, bool failIfExists) noexcept {
    if (!failIfExists) {
        return ::rename(copy, target) == 0;
    }
    return ::link(copy, target) == 0 && ::unlink(copy) == 0;
}

std::string NameBeside(const char* target) {
    static std::atomic<unsigned int> counter{0};
    return std::string(target) + '.' + std::to_string(::getpid()) + '.' +
           std::to_string(++counter) + ".part";
}

/// Copies what `source` is open on. False with the reason in errno.
bool CopyTo(int source, const char* target, bool failIfExists) {
    struct stat status = {};
    if (::fstat(source, &status) != 0 || !MayReplace(target, failIfExists)) {
        return false;
    }
    const std::string copy = NameBeside(target);
    CDescriptor output(::open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                              status.st_mode & static_cast<mode_t>(0777)));
    if (!output.IsOpen()) {
        return false;
    }
    bool done = CopyContent(source, output.Get());
    if (done) {
        // The times are a courtesy: some file systems cannot keep them.
        const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
        static_cast<void>(::futimens(output.Get(), times.data()));
        done = output.Close() && MoveIntoPlace(copy.c_str(), target, failIfExists);
    }
    if (!done) {
        const int reason = errno;
        ::unlink(copy.c_str());
        errno = reason;
    }
    return done;
}

/// Opens a regular file without waiting for what is none; -1 with the reason in `check`.
int OpenRegularFile(const std::string& path, LinkRule links, SFileCheck& check) {
    const int noFollow = links == LinkRule::Refuse ? O_NOFOLLOW : 0;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | noFollow);
    struct stat status = {};
    if (file < 0 || ::fstat(file, &status) != 0) {
        const int reason = errno;
        check.found = reason != ENOENT && reason != ENOTDIR;
        const bool refused = reason == ELOOP && noFollow != 0;
        check.problem = refused ? "It is a symbolic link, which is not followed"
                                : SystemMessage(static_cast<DWORD>(reason));
    } else if (!S_ISREG(status.st_mode)) {
        check.problem = S_ISDIR(status.st_mode) ? "It is a folder" : "It is no regular file";
    } else {
        check.size = static_cast<std::uint64_t>(status.st_size);
        return file;
    }
    if (file >= 0) {
        ::close(file);
    }
    return -1;
}

} // namespace

namespace Nax::FrontEnd::XMLDB {

SFileCheck CheckRegularFile(const std::string& path, LinkRule links) {
    SFileCheck check;
    const CDescriptor file(OpenRegularFile(path, links, check));
    return check;
}

SFileCheck CopyRegularFile(const std::string& source, const std::string& target, LinkRule links) {
    SFileCheck check;
    const CDescriptor file(OpenRegularFile(source, links, check));
    if (file.IsOpen() && !CopyTo(file.Get(), target.c_str(), false)) {
        check.problem = SystemMessage(static_cast<DWORD>(errno));
    }
    return check;
}

} // namespace Nax::FrontEnd::XMLDB

BOOL CopyFileA(const char* source, const char* target, BOOL failIfExists) noexcept {
    try {
        const CDescriptor input(::open(source, O_RDONLY | O_CLOEXEC));
        if (input.IsOpen() && CopyTo(input.Get(), target, failIfExists != FALSE)) {
            return TRUE;
        }
        SetLastError(static_cast<DWORD>(errno));
    } catch (const std::bad_alloc&) {
        SetLastError(ENOMEM);
    }
    return FALSE;
}
