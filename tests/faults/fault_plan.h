// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace FaultPlan {

/// Operations that can be told to fail.
enum class Kind {
    Open, ///< to write
    Read, ///< also the opening
    Write,
    Close, ///< of what was written
    Sync,
    Rename,
    Remove,
    Folder,
    DbOpen,
    DbRead,
    DbWrite,
    DbSync,
    DbDelete,
    DbLock,
    Memory,
    Process,
    Thread
};

/// Counts one operation and tells whether it is to fail. The environment says which: NAX_FAULT is
/// "kind:n" (the n-th alone) or "kind:n+" (the n-th and all after it), with a kind's name in lower
/// case, as "db-write:3+". Counting starts with the program's main. Thread-safe; allocates nothing.
///
/// At exit the counts are appended to the file that NAX_FAULT_COUNTS names, one "kind count
/// failed" line for each kind that occurred: a sweep over n ends when nothing failed any more.
bool MustFail(Kind kind) noexcept;

/// errno for a failing operation: NAX_FAULT_ERRNO (a number), ENOSPC without it.
int ErrorNumber() noexcept;

/// Puts the layer that fails "db-" operations before SQLite's own. After the program has been
/// loaded: from the first call on SQLite does not let its allocator be changed.
void InsertDatabaseLayer() noexcept;

/// What the shim does for itself is neither counted nor failed.
class CUncounted {
public:
    CUncounted() noexcept;
    CUncounted(const CUncounted&) = delete;
    CUncounted& operator=(const CUncounted&) = delete;
    ~CUncounted();
};

} // namespace FaultPlan
