// SPDX-License-Identifier: Apache-2.0
#pragma once

struct sqlite3;

namespace Nax::FrontEnd::XMLDB {

/// Puts itself before the connection's functions `printf` and `format`: a call that would repeat a
/// character for seconds ("%.*c") is too big, and any other gives what SQLite gives. Nobody can
/// interrupt a call, so it must not begin. Stays for the life of the connection, because SQLite
/// does not bring a function back that was hidden. False when there is no memory, or when another
/// statement is running that uses an earlier one.
bool GuardPrintf(sqlite3* connection);

} // namespace Nax::FrontEnd::XMLDB
