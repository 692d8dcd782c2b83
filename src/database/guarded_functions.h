// SPDX-License-Identifier: Apache-2.0
#pragma once

struct sqlite3;

namespace Nax::FrontEnd::XMLDB {

/// Puts itself before functions of the connection whose single call may take minutes: `printf` and
/// `format` that repeat a character ("%.*c"), `trim`, `ltrim` and `rtrim` of a long text with a
/// long set. Such a call is too big, and any other gives what SQLite gives. Nobody can interrupt a
/// call, so it must not begin. Stays for the life of the connection, because SQLite does not bring
/// a function back that was hidden. False when there is no memory, or when another statement is
/// running that uses an earlier one.
bool GuardFunctions(sqlite3* connection);

} // namespace Nax::FrontEnd::XMLDB
