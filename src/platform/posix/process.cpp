// SPDX-License-Identifier: Apache-2.0
#include "platform/process.h"

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <thread>

namespace {

struct FreeText {
    void operator()(char* text) const noexcept { std::free(text); }
};

/// The path with its links resolved; empty when there is no such file.
std::string RealPath(const char* path) {
    const std::unique_ptr<char, FreeText> resolved(::realpath(path, nullptr));
    return resolved == nullptr ? std::string() : std::string(resolved.get());
}

struct SNames {
    std::vector<std::string> names;
    bool outOfMemory = false;
};

// Called through C code, which no exception may cross.
int CollectName(dl_phdr_info* info, std::size_t /*size*/, void* context) noexcept {
    SNames& list = *static_cast<SNames*>(context);
    try {
        list.names.emplace_back(info->dlpi_name == nullptr ? "" : info->dlpi_name);
    } catch (const std::bad_alloc&) {
        list.outOfMemory = true;
        return 1;
    }
    return 0;
}

bool IsVersion(std::string_view text) noexcept {
    return !text.empty() && text.front() >= '0' && text.front() <= '9' &&
           text.find_first_not_of("0123456789.") == std::string_view::npos;
}

} // namespace

DWORD GetCurrentThreadId() noexcept {
    return static_cast<DWORD>(::gettid());
}

DWORD GetCurrentProcessId() noexcept {
    return static_cast<DWORD>(::getpid());
}

namespace Nax::FrontEnd::XMLDB {

std::string GetExecutablePath() {
    return RealPath("/proc/self/exe");
}

std::string GetFileNameVersion(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t suffix = name.find(".so.");
    if (suffix != std::string_view::npos && IsVersion(name.substr(suffix + 4))) {
        return std::string(name.substr(suffix + 4));
    }
    const std::size_t dash = name.rfind('-');
    if (dash != std::string_view::npos && name.size() >= dash + 4 && name.ends_with(".so")) {
        const std::string_view version = name.substr(dash + 1, name.size() - dash - 4);
        if (IsVersion(version)) {
            return std::string(version);
        }
    }
    return "no version in the file name";
}

std::vector<SModule> GetLoadedModules() {
    SNames list;
    ::dl_iterate_phdr(&CollectName, &list);
    if (list.outOfMemory) {
        throw std::bad_alloc();
    }
    std::vector<SModule> modules;
    for (const std::string& name : list.names) {
        // The executable has no name in this list; what the kernel supplies has no file.
        std::string path =
            name.empty() && modules.empty() ? GetExecutablePath() : RealPath(name.c_str());
        if (!path.empty()) {
            std::string version = GetFileNameVersion(path);
            modules.push_back({std::move(path), std::move(version)});
        }
    }
    return modules;
}

unsigned int GetHardwareThreadCount() noexcept {
    return std::max(1U, std::thread::hardware_concurrency());
}

} // namespace Nax::FrontEnd::XMLDB
