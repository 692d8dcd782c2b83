// SPDX-License-Identifier: Apache-2.0
#include "database/sqlite_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

sqlite3_mem_methods g_system = {};

void* Allocate(int size) noexcept {
    void* const block = g_system.xMalloc(size);
    if (block == nullptr) {
        NoteFailedAllocation();
    }
    return block;
}

void* Reallocate(void* earlier, int size) noexcept {
    void* const block = g_system.xRealloc(earlier, size);
    if (block == nullptr) {
        NoteFailedAllocation();
    }
    return block;
}

/// SQLite says the same of a statement that has reached its bound and of a system that has no
/// memory; only below the bound they differ. In a process that has used SQLite before there is no
/// difference, and what such a statement lacks counts as the statement's own fault.
bool Install() noexcept {
    if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_system) != SQLITE_OK) {
        return false;
    }
    sqlite3_mem_methods noting = g_system;
    noting.xMalloc = &Allocate;
    noting.xRealloc = &Reallocate;
    return sqlite3_config(SQLITE_CONFIG_MALLOC, &noting) == SQLITE_OK;
}

// As the library is loaded: later, other threads might be using SQLite.
[[maybe_unused]] const bool g_installed = Install();

} // namespace

} // namespace Nax::FrontEnd::XMLDB
