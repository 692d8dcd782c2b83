// SPDX-License-Identifier: Apache-2.0
#pragma once

// The process, its threads and its modules. All operations may be called from any thread.
#include "platform/basic_types.h"

#include <string>
#include <string_view>
#include <vector>

DWORD GetCurrentThreadId() noexcept;
DWORD GetCurrentProcessId() noexcept;

namespace Nax::FrontEnd::XMLDB {

struct SModule {
    std::string path;    ///< real path, links resolved
    std::string version; ///< file version, or a text that says why there is none
};

/// Full path of the process's executable; empty when the system does not tell.
std::string GetExecutablePath();

/// The modules loaded in the process that have a file, the executable first.
std::vector<SModule> GetLoadedModules();

/// The version that a module's file name carries: "libz.so.1.2.13" has 1.2.13, "libz-1.2.so" 1.2.
std::string GetFileNameVersion(std::string_view path);

/// Number of threads that run at once, at least 1.
unsigned int GetHardwareThreadCount() noexcept;

} // namespace Nax::FrontEnd::XMLDB
