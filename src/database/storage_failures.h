// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

struct sqlite3;

namespace Nax::FrontEnd::XMLDB {

/// Remembers of each connection the first failure of what the database is stored in: its disk, its
/// memory, its locks. Statements are refused for many reasons, and most of them are the statement's
/// own and no fault of the run; after one of these nothing that was read or written since is whole.
///
/// Any thread may call. What nobody has failed costs nothing.
class CStorageFailures {
public:
    /// Looks at the connection's latest result, after a call that failed.
    static void Note(sqlite3* connection);
    /// SQLite's text for the connection's latest result with the system's reason behind it.
    static std::string Describe(sqlite3* connection);
    /// Empty when nothing has failed since the connection was opened.
    static std::string First(sqlite3* connection);
    /// To be called when a connection is opened or closed.
    static void Forget(sqlite3* connection);
};

} // namespace Nax::FrontEnd::XMLDB
