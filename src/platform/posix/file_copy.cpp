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

#include "platform/files.h"

namespace {

/// Owns a file descriptor.
class CDescriptor {
public:
    explicit CDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() { Close(); }

    int Get() const noexcept { return m_descriptor; }
    bool IsOpen() const noexcept { return m_descriptor >= 0; }
    /// A delayed write error shows up here.
    bool Close() noexcept {
        const int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor < 0 || ::close(descriptor) == 0;
    }

private:
    int m_descriptor;
};

bool WriteAll(int file, const char* bytes, std::size_t count) noexcept {
    while (count > 0) {
        const ssize_t written = ::write(file, bytes, count);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

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

/// False with the reason in errno.
bool CopyTo(const char* source, const char* target, bool failIfExists) {
    CDescriptor input(::open(source, O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!input.IsOpen() || ::fstat(input.Get(), &status) != 0 ||
        !MayReplace(target, failIfExists)) {
        return false;
    }
    const std::string copy = NameBeside(target);
    CDescriptor output(::open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                              status.st_mode & static_cast<mode_t>(0777)));
    if (!output.IsOpen()) {
        return false;
    }
    bool done = CopyContent(input.Get(), output.Get());
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

} // namespace

BOOL CopyFileA(const char* source, const char* target, BOOL failIfExists) noexcept {
    try {
        if (CopyTo(source, target, failIfExists != FALSE)) {
            return TRUE;
        }
        SetLastError(static_cast<DWORD>(errno));
    } catch (const std::bad_alloc&) {
        SetLastError(ENOMEM);
    }
    return FALSE;
}
