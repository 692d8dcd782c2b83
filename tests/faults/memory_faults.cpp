// SPDX-License-Identifier: Apache-2.0
// Allocation, failing when told to. operator new comes through malloc, and so do the libraries.
// Counted is what happens between the start and the end of main: what the loader needs is not ours.
//
// NAX_FAULT_SITES names a file that gets, at the end of main, one line "number times stack" for
// each distinct call stack that allocated: the number of its first allocation, how often it did so.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>
#include <unwind.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fault_plan.h"

// The allocator itself, which needs no search by name: that search allocates.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
}

namespace {

constexpr std::size_t kFrames = 24;
constexpr std::size_t kSites = std::size_t{1} << 16U;

struct SSite {
    std::atomic<std::uint64_t> stack{0};
    std::atomic<long> first{0};
    std::atomic<long> times{0};
};

std::array<SSite, kSites> g_sites;
std::atomic<long> g_number{0};
std::atomic<bool> g_counts{false};
bool g_records = false;
int (*g_main)(int, char**, char**) = nullptr;

struct SWalk {
    std::uint64_t hash = 14695981039346656037U;
    std::size_t frames = 0;
};

_Unwind_Reason_Code AddFrame(_Unwind_Context* context, void* data) {
    auto* walk = static_cast<SWalk*>(data);
    walk->hash = (walk->hash ^ _Unwind_GetIP(context)) * 1099511628211U;
    return ++walk->frames < kFrames ? _URC_NO_REASON : _URC_NORMAL_STOP;
}

void Record(long number) noexcept {
    const FaultPlan::CUncounted uncounted;
    SWalk walk;
    _Unwind_Backtrace(&AddFrame, &walk);
    for (std::size_t at = walk.hash % kSites, tried = 0; tried < kSites; ++tried) {
        SSite& site = g_sites[(at + tried) % kSites];
        std::uint64_t expected = 0;
        if (site.stack.compare_exchange_strong(expected, walk.hash)) {
            site.first = number;
        }
        if (site.stack == walk.hash) {
            ++site.times;
            return;
        }
    }
}

void WriteSites() noexcept {
    const FaultPlan::CUncounted uncounted;
    const int file = open(std::getenv("NAX_FAULT_SITES"), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    for (const SSite& site : g_sites) {
        if (file >= 0 && site.stack != 0) {
            dprintf(file, "%ld %ld %016lx\n", site.first.load(), site.times.load(),
                    static_cast<unsigned long>(site.stack.load()));
        }
    }
    if (file >= 0) {
        close(file);
    }
}

/// Told by the plan; the number kept here is that of the recorded sites.
bool Fails() noexcept {
    thread_local bool t_inside __attribute__((tls_model("initial-exec"))) = false;
    if (!g_counts || t_inside) {
        return false;
    }
    t_inside = true;
    const bool fails = FaultPlan::MustFail(FaultPlan::Kind::Memory);
    if (g_records) {
        Record(++g_number);
    }
    t_inside = false;
    if (fails) {
        errno = ENOMEM;
    }
    return fails;
}

int RunMain(int count, char** arguments, char** environment) {
    g_records = std::getenv("NAX_FAULT_SITES") != nullptr;
    if (g_records) {
        SWalk first;
        _Unwind_Backtrace(&AddFrame, &first);
    }
    FaultPlan::InsertDatabaseLayer();
    g_counts = true;
    const int result = g_main(count, arguments, environment);
    g_counts = false;
    if (g_records) {
        WriteSites();
    }
    return result;
}

using TMain = int (*)(int, char**, char**);
using TStart = int (*)(TMain, int, char**, void (*)(), void (*)(), void (*)(), void*);

} // namespace

extern "C" {

int __libc_start_main(TMain mainFunction, int count, char** arguments, void (*init)(),
                      void (*finish)(), void (*finishLoader)(), void* stackEnd) {
    g_main = mainFunction;
    const auto start = reinterpret_cast<TStart>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(&RunMain, count, arguments, init, finish, finishLoader, stackEnd);
}

void* malloc(std::size_t size) noexcept {
    return Fails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return Fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
    return Fails() ? nullptr : __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return Fails() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    void* const made = Fails() ? nullptr : __libc_memalign(alignment, size);
    if (made == nullptr) {
        return ENOMEM;
    }
    *block = made;
    return 0;
}

} // extern "C"
