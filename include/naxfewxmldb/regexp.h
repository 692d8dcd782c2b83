// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// The SQL functions of the library, for connections of a host's own.
#include <naxfewxmldb/export.h>

struct sqlite3;

/// Registers the SQL functions "regexp" (the operator REGEXP, case-sensitive) and "regexpi" (folds
/// the ASCII letters) on the connection `db`, which the caller keeps.
///
/// Returns an SQLite result code, 0 on success. It has C linkage and SQLite's naming so that it can
/// be looked up by name in the shared library. The rules of SQLite hold for threads: one thread at
/// a time on a connection. Nothing is shared between connections.
extern "C" NAXFEWXMLDB_EXPORT int sqlite3_regexp_init(sqlite3* db);
