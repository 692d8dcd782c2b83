// SPDX-License-Identifier: Apache-2.0
// A robust process-shared pthread mutex in POSIX shared memory. The first process to open a name
// prepares the mutex while it holds a file lock on the memory object; the system drops that lock
// when the process dies, and the next one then finds the mark of readiness missing and prepares the
// mutex anew. The memory object is never removed: a removed name would give two mutexes.
#include "platform/named_mutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <memory>
#include <new>
#include <string>

#include "platform/process.h"

namespace {

constexpr std::uint32_t kReady = 0x4E4D5831;
constexpr std::size_t kLongestName = 200;

struct SSharedMutex {
    std::uint32_t ready;
    /// Thread that has the mutex, and how often; written by that thread only.
    std::atomic<DWORD> owner;
    DWORD depth;
    pthread_mutex_t mutex;
};
static_assert(std::atomic<DWORD>::is_always_lock_free, "shared between processes");

struct SHandle {
    SSharedMutex* shared;
    /// How often the mutex is taken through this handle.
    std::atomic<int> taken{0};
};

/// A name that the file system accepts and that no two names share but by a 64-bit hash collision.
std::string SharedName(const char* name) {
    static constexpr char kDigits[] = "0123456789abcdef";
    // The size keeps builds whose memory objects look different apart.
    std::string mangled = "/naxfewxmldb." + std::to_string(::geteuid()) + '.' +
                          std::to_string(sizeof(SSharedMutex)) + '.';
    std::uint64_t hash = 14695981039346656037U;
    for (const char* p = name; *p != '\0'; ++p) {
        const auto byte = static_cast<unsigned char>(*p);
        hash = (hash ^ byte) * 1099511628211U;
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || byte == '_' || byte == '-' ||
                           byte == '.';
        if (plain) {
            mangled += *p;
        } else {
            mangled += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
        }
    }
    if (mangled.size() > kLongestName) {
        mangled.resize(kLongestName);
        mangled += '+' + std::to_string(hash);
    }
    return mangled;
}

/// 0, or the error number.
int PrepareMutex(SSharedMutex& shared) noexcept {
    pthread_mutexattr_t attributes;
    int error = ::pthread_mutexattr_init(&attributes);
    if (error != 0) {
        return error;
    }
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    error = ::pthread_mutex_init(&shared.mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
    shared.ready = error == 0 ? kReady : 0;
    return error;
}

/// Null with the reason in errno. `file` is -1 for memory of this process.
SSharedMutex* Map(int file) noexcept {
    const int flags = file < 0 ? MAP_SHARED | MAP_ANONYMOUS : MAP_SHARED;
    void* memory = ::mmap(nullptr, sizeof(SSharedMutex), PROT_READ | PROT_WRITE, flags, file, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    auto* shared = static_cast<SSharedMutex*>(memory);
    const int error = shared->ready == kReady ? 0 : PrepareMutex(*shared);
    if (error != 0) {
        ::munmap(memory, sizeof(SSharedMutex));
        errno = error;
        return nullptr;
    }
    return shared;
}

/// Maps the memory object, preparing it when needed, under its file lock.
SSharedMutex* MapLocked(int file) noexcept {
    struct stat status = {};
    if (::flock(file, LOCK_EX) != 0 || ::fstat(file, &status) != 0) {
        return nullptr;
    }
    if (status.st_uid != ::geteuid()) {
        errno = EACCES;
        return nullptr;
    }
    if (status.st_size == 0) {
        if (::ftruncate(file, sizeof(SSharedMutex)) != 0) {
            return nullptr;
        }
    } else if (status.st_size != sizeof(SSharedMutex)) {
        errno = EINVAL;
        return nullptr;
    }
    return Map(file);
}

SSharedMutex* OpenShared(const char* name) {
    if (name == nullptr) {
        return Map(-1);
    }
    const int file = ::shm_open(SharedName(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0) {
        return nullptr;
    }
    SSharedMutex* shared = MapLocked(file);
    const int reason = errno;
    // Closing alone would not unlock: the mapping keeps the open file alive.
    ::flock(file, LOCK_UN);
    ::close(file);
    errno = reason;
    return shared;
}

/// Notes the calling thread, which has just got the mutex.
void Enter(SHandle& handle, DWORD depth) noexcept {
    handle.shared->depth = depth;
    handle.shared->owner = GetCurrentThreadId();
    ++handle.taken;
}

int Lock(pthread_mutex_t& mutex, DWORD milliseconds) noexcept {
    if (milliseconds == INFINITE) {
        return ::pthread_mutex_lock(&mutex);
    }
    if (milliseconds == 0) {
        return ::pthread_mutex_trylock(&mutex);
    }
    timespec until = {};
    ::clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += milliseconds / 1000;
    until.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
    if (until.tv_nsec >= 1000000000L) {
        ++until.tv_sec;
        until.tv_nsec -= 1000000000L;
    }
    return ::pthread_mutex_timedlock(&mutex, &until);
}

} // namespace

HANDLE CreateMutexA(const void* /*security*/, BOOL initialOwner, const char* name) noexcept {
    try {
        auto handle = std::make_unique<SHandle>();
        handle->shared = OpenShared(name);
        if (handle->shared == nullptr) {
            SetLastError(static_cast<DWORD>(errno));
            return nullptr;
        }
        if (initialOwner != FALSE) {
            // As where it is native: a mutex that somebody holds is opened, not taken.
            WaitForSingleObject(handle.get(), 0);
        }
        return handle.release();
    } catch (const std::bad_alloc&) {
        SetLastError(ENOMEM);
        return nullptr;
    }
}

DWORD WaitForSingleObject(HANDLE mutex, DWORD milliseconds) noexcept {
    if (mutex == nullptr) {
        SetLastError(EINVAL);
        return WAIT_FAILED;
    }
    SHandle& handle = *static_cast<SHandle*>(mutex);
    const int error = Lock(handle.shared->mutex, milliseconds);
    switch (error) {
        case 0:
            Enter(handle, handle.shared->depth + 1);
            return WAIT_OBJECT_0;
        case EOWNERDEAD:
            ::pthread_mutex_consistent(&handle.shared->mutex);
            Enter(handle, 1);
            return WAIT_ABANDONED;
        case EBUSY:
        case ETIMEDOUT:
            return WAIT_TIMEOUT;
        default:
            SetLastError(static_cast<DWORD>(error));
            return WAIT_FAILED;
    }
}

BOOL ReleaseMutex(HANDLE mutex) noexcept {
    if (mutex == nullptr) {
        SetLastError(EINVAL);
        return FALSE;
    }
    SHandle& handle = *static_cast<SHandle*>(mutex);
    SSharedMutex& shared = *handle.shared;
    if (shared.owner != GetCurrentThreadId()) {
        SetLastError(EPERM);
        return FALSE;
    }
    if (--shared.depth == 0) {
        shared.owner = 0;
    }
    --handle.taken;
    const int error = ::pthread_mutex_unlock(&shared.mutex);
    if (error != 0) {
        SetLastError(static_cast<DWORD>(error));
        return FALSE;
    }
    return TRUE;
}

BOOL CloseHandle(HANDLE mutex) noexcept {
    if (mutex == nullptr) {
        SetLastError(EINVAL);
        return FALSE;
    }
    const std::unique_ptr<SHandle> handle(static_cast<SHandle*>(mutex));
    if (handle->taken == 0) {
        ::munmap(handle->shared, sizeof(SSharedMutex));
    }
    // Otherwise the memory stays: the system looks at a taken mutex when its thread ends.
    return TRUE;
}
