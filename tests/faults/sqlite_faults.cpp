// SPDX-License-Identifier: Apache-2.0
// SQLite's way to the system: a layer over the built-in one, and the default instead of it.
#include "fault_plan.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstring>

using FaultPlan::CUncounted;
using FaultPlan::Kind;

namespace {

/// In front of the built-in layer's own file, in one piece of memory that SQLite allots.
struct SFile {
    sqlite3_file base;
    sqlite3_file* inner;
};

sqlite3_vfs* g_inner = nullptr;

sqlite3_file* Inner(sqlite3_file* file) {
    return reinterpret_cast<SFile*>(file)->inner;
}

bool Fails(Kind kind) {
    if (!FaultPlan::MustFail(kind)) {
        return false;
    }
    errno = FaultPlan::ErrorNumber();
    return true;
}

/// What SQLite's own layer makes of the number.
int CodeFor(int ordinary) {
    switch (FaultPlan::ErrorNumber()) {
        case ENOSPC:
        case EDQUOT:
            return ordinary == SQLITE_IOERR_WRITE ? SQLITE_FULL : ordinary;
        case EBUSY:
            return ordinary == SQLITE_IOERR_LOCK ? SQLITE_BUSY : ordinary;
        default:
            return ordinary;
    }
}

int Close(sqlite3_file* file) {
    const CUncounted uncounted;
    return Inner(file)->pMethods->xClose(Inner(file));
}

int Read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
    if (Fails(Kind::DbRead)) {
        if (FaultPlan::ErrorNumber() != 0) {
            return SQLITE_IOERR_READ;
        }
        // As at the end of a file that was cut off.
        std::memset(bytes, 0, static_cast<std::size_t>(count));
        return SQLITE_IOERR_SHORT_READ;
    }
    const CUncounted uncounted;
    return Inner(file)->pMethods->xRead(Inner(file), bytes, count, offset);
}

int Write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
    const bool fails = Fails(Kind::DbWrite);
    const CUncounted uncounted;
    if (fails) {
        // A disk becomes full in the middle of a page.
        Inner(file)->pMethods->xWrite(Inner(file), bytes, count / 2, offset);
        errno = FaultPlan::ErrorNumber();
        return CodeFor(SQLITE_IOERR_WRITE);
    }
    return Inner(file)->pMethods->xWrite(Inner(file), bytes, count, offset);
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    if (Fails(Kind::DbWrite)) {
        return SQLITE_IOERR_TRUNCATE;
    }
    const CUncounted uncounted;
    return Inner(file)->pMethods->xTruncate(Inner(file), size);
}

int Sync(sqlite3_file* file, int flags) {
    if (Fails(Kind::DbSync)) {
        return SQLITE_IOERR_FSYNC;
    }
    const CUncounted uncounted;
    return Inner(file)->pMethods->xSync(Inner(file), flags);
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
    if (Fails(Kind::DbRead)) {
        return SQLITE_IOERR_FSTAT;
    }
    const CUncounted uncounted;
    return Inner(file)->pMethods->xFileSize(Inner(file), size);
}

int Lock(sqlite3_file* file, int level) {
    if (Fails(Kind::DbLock)) {
        return CodeFor(SQLITE_IOERR_LOCK);
    }
    const CUncounted uncounted;
    return Inner(file)->pMethods->xLock(Inner(file), level);
}

int Unlock(sqlite3_file* file, int level) {
    const CUncounted uncounted;
    return Inner(file)->pMethods->xUnlock(Inner(file), level);
}

int CheckReservedLock(sqlite3_file* file, int* result) {
    if (Fails(Kind::DbLock)) {
        return SQLITE_IOERR_CHECKRESERVEDLOCK;
    }
    const CUncounted uncounted;
    return Inner(file)->pMethods->xCheckReservedLock(Inner(file), result);
}

int FileControl(sqlite3_file* file, int operation, void* argument) {
    const CUncounted uncounted;
    return Inner(file)->pMethods->xFileControl(Inner(file), operation, argument);
}

int SectorSize(sqlite3_file* file) {
    return Inner(file)->pMethods->xSectorSize(Inner(file));
}

int DeviceCharacteristics(sqlite3_file* file) {
    return Inner(file)->pMethods->xDeviceCharacteristics(Inner(file));
}

// Version 1: neither shared memory nor mapped files, which the program does not use.
const sqlite3_io_methods kMethods = {1,
                                     Close,
                                     Read,
                                     Write,
                                     Truncate,
                                     Sync,
                                     FileSize,
                                     Lock,
                                     Unlock,
                                     CheckReservedLock,
                                     FileControl,
                                     SectorSize,
                                     DeviceCharacteristics,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr};

int Open(sqlite3_vfs* /*layer*/, const char* name, sqlite3_file* file, int flags, int* result) {
    auto* own = reinterpret_cast<SFile*>(file);
    own->base.pMethods = nullptr;
    own->inner = reinterpret_cast<sqlite3_file*>(own + 1);
    if (Fails(Kind::DbOpen)) {
        return SQLITE_CANTOPEN;
    }
    const CUncounted uncounted;
    const int code = g_inner->xOpen(g_inner, name, own->inner, flags, result);
    if (own->inner->pMethods != nullptr) {
        own->base.pMethods = &kMethods;
    }
    return code;
}

int Delete(sqlite3_vfs* /*layer*/, const char* name, int syncFolder) {
    if (Fails(Kind::DbDelete)) {
        return SQLITE_IOERR_DELETE;
    }
    const CUncounted uncounted;
    return g_inner->xDelete(g_inner, name, syncFolder);
}

int Access(sqlite3_vfs* /*layer*/, const char* name, int flags, int* result) {
    if (Fails(Kind::DbRead)) {
        return SQLITE_IOERR_ACCESS;
    }
    const CUncounted uncounted;
    return g_inner->xAccess(g_inner, name, flags, result);
}

} // namespace

void FaultPlan::InsertDatabaseLayer() noexcept {
    static sqlite3_vfs layer;
    const CUncounted uncounted;
    g_inner = sqlite3_vfs_find(nullptr);
    layer = *g_inner;
    layer.zName = "faults";
    layer.pNext = nullptr;
    layer.szOsFile = static_cast<int>(sizeof(SFile)) + g_inner->szOsFile;
    layer.xOpen = Open;
    layer.xDelete = Delete;
    layer.xAccess = Access;
    sqlite3_vfs_register(&layer, 1);
}
