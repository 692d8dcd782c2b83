// SPDX-License-Identifier: Apache-2.0
// The file functions of the C library as the program, its library, libstdc++, libzip and libxml2
// call them. What belongs to the system (below /dev, /etc, /proc and the like) and what SQLite does
// is not counted; SQLite has a seam of its own.
#include "fault_plan.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

using FaultPlan::Kind;

namespace {

constexpr std::array<std::string_view, 9> kSystemFolders = {
    "/dev/", "/etc/", "/lib", "/proc/", "/run/", "/sys/", "/usr/", "/var/", "/bin/"};
constexpr int kStreamHasFailed = 0x20; // as the C library marks it
constexpr std::string_view kTraceFile = "NAXPCTRC";

enum Use : char { None, Reading, Writing, Written };
std::array<std::atomic<char>, 4096> g_uses{};

/// The function that this one stands before.
template <class Function>
Function* Next(const char* name) noexcept {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool IsOfUser(const char* path) noexcept {
    const std::string_view text = path;
    for (const std::string_view folder : kSystemFolders) {
        if (text.starts_with(folder)) {
            return false;
        }
    }
    return text.find(kTraceFile) == std::string_view::npos;
}

bool Fails(Kind kind) noexcept {
    if (!FaultPlan::MustFail(kind)) {
        return false;
    }
    errno = FaultPlan::ErrorNumber();
    return true;
}

bool PathFails(const char* path, Kind kind) noexcept {
    return IsOfUser(path) && Fails(kind);
}

bool Is(int file, Use use) noexcept {
    return file >= 0 && static_cast<std::size_t>(file) < g_uses.size() &&
           g_uses[static_cast<std::size_t>(file)] == use;
}

void Note(int file, Use use) noexcept {
    if (file >= 0 && static_cast<std::size_t>(file) < g_uses.size()) {
        g_uses[static_cast<std::size_t>(file)] = use;
    }
}

bool WriteFails(int file) noexcept {
    const bool isOurs = Is(file, Writing) || Is(file, Written);
    if (isOurs) {
        Note(file, Written);
    }
    return (isOurs || file == STDOUT_FILENO) && Fails(Kind::Write);
}

Use UseOf(int flags) noexcept {
    return (flags & O_ACCMODE) == O_RDONLY ? Reading : Writing;
}

Use UseOf(const char* mode) noexcept {
    return std::strpbrk(mode, "wa+") == nullptr ? Reading : Writing;
}

Kind KindOf(Use use) noexcept {
    return use == Reading ? Kind::Read : Kind::Open;
}

int OpenAs(const char* name, int folder, const char* path, int flags, mode_t mode) noexcept {
    const bool isFolder = (flags & O_DIRECTORY) != 0;
    const Use use = UseOf(flags); // a folder is read, too
    if (PathFails(path, isFolder ? Kind::Folder : KindOf(use))) {
        return -1;
    }
    const int file = Next<int(int, const char*, int, ...)>(name)(folder, path, flags, mode);
    Note(file, IsOfUser(path) ? use : None);
    return file;
}

FILE* OpenStream(const char* name, const char* path, const char* mode) noexcept {
    const Use use = UseOf(mode);
    if (PathFails(path, KindOf(use))) {
        return nullptr;
    }
    FILE* stream = Next<FILE*(const char*, const char*)>(name)(path, mode);
    if (stream != nullptr) {
        Note(fileno(stream), IsOfUser(path) ? use : None);
    }
    return stream;
}

mode_t ModeOf(int flags, va_list& arguments) noexcept {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

// The C library declares these with attributes that only its own definitions need.
extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAs("openat", AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAs("openat64", AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAs("openat", folder, path, flags, mode);
}

FILE* fopen(const char* path, const char* mode) {
    return OpenStream("fopen", path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return OpenStream("fopen64", path, mode);
}

int mkstemp(char* path) {
    if (PathFails(path, Kind::Open)) {
        return -1;
    }
    const int file = Next<int(char*)>("mkstemp")(path);
    Note(file, Writing);
    return file;
}

char* mkdtemp(char* path) {
    // The folder for temporary files is the user's, wherever it is.
    return Fails(Kind::Folder) ? nullptr : Next<char*(char*)>("mkdtemp")(path);
}

int mkdir(const char* path, mode_t mode) {
    return PathFails(path, Kind::Folder) ? -1 : Next<int(const char*, mode_t)>("mkdir")(path, mode);
}

DIR* opendir(const char* path) {
    DIR* const folder =
        PathFails(path, Kind::Folder) ? nullptr : Next<DIR*(const char*)>("opendir")(path);
    if (folder != nullptr) {
        Note(dirfd(folder), IsOfUser(path) ? Reading : None);
    }
    return folder;
}

dirent* readdir(DIR* folder) {
    return Is(dirfd(folder), Reading) && Fails(Kind::Folder)
               ? nullptr
               : Next<dirent*(DIR*)>("readdir")(folder);
}

ssize_t read(int file, void* bytes, size_t count) {
    return Is(file, Reading) && Fails(Kind::Read)
               ? -1
               : Next<ssize_t(int, void*, size_t)>("read")(file, bytes, count);
}

ssize_t pread(int file, void* bytes, size_t count, off_t offset) {
    return Is(file, Reading) && Fails(Kind::Read)
               ? -1
               : Next<ssize_t(int, void*, size_t, off_t)>("pread")(file, bytes, count, offset);
}

size_t fread(void* bytes, size_t size, size_t count, FILE* stream) {
    if (Is(fileno(stream), Reading) && Fails(Kind::Read)) {
        stream->_flags |= kStreamHasFailed; // without it this would be the end of the file
        return 0;
    }
    return Next<size_t(void*, size_t, size_t, FILE*)>("fread")(bytes, size, count, stream);
}

ssize_t write(int file, const void* bytes, size_t count) {
    return WriteFails(file) ? -1
                            : Next<ssize_t(int, const void*, size_t)>("write")(file, bytes, count);
}

ssize_t writev(int file, const iovec* pieces, int count) {
    return WriteFails(file) ? -1
                            : Next<ssize_t(int, const iovec*, int)>("writev")(file, pieces, count);
}

size_t fwrite(const void* bytes, size_t size, size_t count, FILE* stream) {
    return WriteFails(fileno(stream)) ? 0
                                      : Next<size_t(const void*, size_t, size_t, FILE*)>("fwrite")(
                                            bytes, size, count, stream);
}

int ftruncate(int file, off_t length) {
    return WriteFails(file) ? -1 : Next<int(int, off_t)>("ftruncate")(file, length);
}

int fsync(int file) {
    return Fails(Kind::Sync) ? -1 : Next<int(int)>("fsync")(file);
}

// What was put off is told to whom closes first, which is the copy.
int fcntl(int file, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const int result = Next<int(int, int, ...)>("fcntl")(file, command, argument);
    if (command == F_DUPFD_CLOEXEC && Is(file, Written)) {
        Note(result, Written);
        Note(file, Writing);
    }
    return result;
}

// The descriptor is gone also when closing it tells of a failure, which only what was written can
// have.
int close(int file) {
    const bool written = Is(file, Written);
    Note(file, None);
    const int result = Next<int(int)>("close")(file);
    return written && Fails(Kind::Close) ? -1 : result;
}

int fclose(FILE* stream) {
    const bool written = Is(fileno(stream), Written);
    Note(fileno(stream), None);
    const int result = Next<int(FILE*)>("fclose")(stream);
    return written && Fails(Kind::Close) ? EOF : result;
}

int rename(const char* from, const char* to) noexcept {
    return PathFails(to, Kind::Rename) ? -1
                                       : Next<int(const char*, const char*)>("rename")(from, to);
}

int link(const char* from, const char* to) noexcept {
    return PathFails(to, Kind::Rename) ? -1 : Next<int(const char*, const char*)>("link")(from, to);
}

int unlink(const char* path) noexcept {
    return PathFails(path, Kind::Remove) ? -1 : Next<int(const char*)>("unlink")(path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return PathFails(path, Kind::Remove)
               ? -1
               : Next<int(int, const char*, int)>("unlinkat")(folder, path, flags);
}

int rmdir(const char* path) noexcept {
    return PathFails(path, Kind::Remove) ? -1 : Next<int(const char*)>("rmdir")(path);
}

int remove(const char* path) noexcept {
    return PathFails(path, Kind::Remove) ? -1 : Next<int(const char*)>("remove")(path);
}

} // extern "C"
