// SPDX-License-Identifier: Apache-2.0
#include "fault_plan.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace FaultPlan {

namespace {

constexpr std::array kNames = {"open",      "read",    "write",   "close",   "sync",     "rename",
                               "remove",    "folder",  "db-open", "db-read", "db-write", "db-sync",
                               "db-delete", "db-lock", "memory",  "process", "thread"};

struct SPlan {
    int kind = -1;
    long first = 0;
    bool onwards = false;
    int errorNumber = ENOSPC;
    bool active = false;
};

struct SCount {
    std::atomic<long> seen{0};
    std::atomic<long> failed{0};
};

SPlan g_plan;
std::array<SCount, kNames.size()> g_counts;
thread_local int t_uncounted __attribute__((tls_model("initial-exec"))) = 0;

void ReadPlan(const char* text) noexcept {
    for (std::size_t kind = 0; kind < kNames.size(); ++kind) {
        const std::size_t length = std::strlen(kNames[kind]);
        if (std::strncmp(text, kNames[kind], length) == 0 && text[length] == ':') {
            char* end = nullptr;
            g_plan.kind = static_cast<int>(kind);
            g_plan.first = std::strtol(text + length + 1, &end, 10);
            g_plan.onwards = *end == '+';
        }
    }
}

__attribute__((constructor)) void Start() noexcept {
    if (const char* fault = std::getenv("NAX_FAULT"); fault != nullptr) {
        ReadPlan(fault);
    }
    if (const char* number = std::getenv("NAX_FAULT_ERRNO"); number != nullptr) {
        g_plan.errorNumber = std::atoi(number);
    }
    // The programs that it starts go without.
    unsetenv("LD_PRELOAD");
    g_plan.active = true;
}

__attribute__((destructor)) void WriteCounts() noexcept {
    g_plan.active = false;
    const char* path = std::getenv("NAX_FAULT_COUNTS");
    const int file = path == nullptr ? -1 : open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);
    for (std::size_t kind = 0; file >= 0 && kind < kNames.size(); ++kind) {
        if (g_counts[kind].seen != 0) {
            dprintf(file, "%s %ld %ld\n", kNames[kind], g_counts[kind].seen.load(),
                    g_counts[kind].failed.load());
        }
    }
    if (file >= 0) {
        close(file);
    }
}

} // namespace

bool MustFail(Kind kind) noexcept {
    if (!g_plan.active || t_uncounted != 0) {
        return false;
    }
    const auto index = static_cast<std::size_t>(kind);
    const long number = ++g_counts[index].seen;
    const bool fails = static_cast<int>(index) == g_plan.kind &&
                       (number == g_plan.first || (g_plan.onwards && number > g_plan.first));
    if (fails) {
        ++g_counts[index].failed;
    }
    return fails;
}

int ErrorNumber() noexcept {
    return g_plan.errorNumber;
}

CUncounted::CUncounted() noexcept {
    ++t_uncounted;
}

CUncounted::~CUncounted() {
    --t_uncounted;
}

} // namespace FaultPlan
