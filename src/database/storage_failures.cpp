// SPDX-License-Identifier: Apache-2.0
#include "database/storage_failures.h"

#include <cerrno>
#include <map>
#include <mutex>
#include <system_error>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
}

std::map<sqlite3*, std::string>& Failures() {
    static std::map<sqlite3*, std::string> failures;
    return failures;
}

bool IsOfStorage(int code) {
    switch (code & 0xff) {
        case SQLITE_IOERR:
        case SQLITE_FULL:
        case SQLITE_BUSY:
        case SQLITE_CANTOPEN:
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_READONLY:
        case SQLITE_PROTOCOL:
            return true;
        case SQLITE_NOMEM:
            // A statement with a bound of its own tells itself that it has reached it.
            return sqlite3_hard_heap_limit64(-1) == 0;
        default:
            return false;
    }
}

/// The system's number says something about these only.
bool HasSystemReason(int code) {
    return (code & 0xff) == SQLITE_IOERR || (code & 0xff) == SQLITE_CANTOPEN;
}

} // namespace

std::string CStorageFailures::Describe(sqlite3* connection) {
    sqlite3_mutex* mutex = sqlite3_db_mutex(connection);
    sqlite3_mutex_enter(mutex);
    std::string text = sqlite3_errmsg(connection);
    const int number = sqlite3_system_errno(connection);
    // A file that could not be made is tried once more as one to be read, and then is not there.
    if (HasSystemReason(sqlite3_errcode(connection)) && number != 0 && number != ENOENT) {
        text += " (" + std::generic_category().message(number) + ")";
    }
    sqlite3_mutex_leave(mutex);
    return text;
}

void CStorageFailures::Note(sqlite3* connection) {
    if (connection != nullptr && IsOfStorage(sqlite3_errcode(connection))) {
        std::string text = Describe(connection);
        const std::lock_guard lock(Mutex());
        Failures().emplace(connection, std::move(text));
    }
}

std::string CStorageFailures::First(sqlite3* connection) {
    const std::lock_guard lock(Mutex());
    const auto found = Failures().find(connection);
    return found == Failures().end() ? std::string() : found->second;
}

void CStorageFailures::Forget(sqlite3* connection) {
    const std::lock_guard lock(Mutex());
    Failures().erase(connection);
}

} // namespace Nax::FrontEnd::XMLDB
