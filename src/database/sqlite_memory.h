// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/memory.h>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

/// Hands a result of SQLite's on; want of memory is noted, whatever becomes of the result. Where a
/// statement has reached a bound of its own, nothing else has lost anything.
inline int Noted(int result) noexcept {
    if (((result & 0xFF) == SQLITE_NOMEM || result == SQLITE_IOERR_NOMEM) &&
        sqlite3_hard_heap_limit64(-1) == 0) {
        NoteFailedAllocation();
    }
    return result;
}

/// For results that are null both for NULL and for want of memory.
inline void NoteConnection(sqlite3_stmt* statement) noexcept {
    if (statement != nullptr) {
        Noted(sqlite3_errcode(sqlite3_db_handle(statement)));
    }
}

} // namespace Nax::FrontEnd::XMLDB
