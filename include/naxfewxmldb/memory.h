// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <cstdint>

namespace Nax::FrontEnd::XMLDB {

/// How many allocations have failed in this process, as far as the library came to know: those of
/// the XML libraries, of libcrypto and of SQLite, those that made an operation return false, and
/// what NoteFailedAllocation was told.
///
/// An operation that ran out of memory fails. A host that passes over the result of one, or lets a
/// statement of its own fail, learns here that what it holds may be incomplete: the count before a
/// piece of work and after it must be the same. May be called from any thread.
NAXFEWXMLDB_EXPORT std::uint64_t GetFailedAllocations() noexcept;

/// Counts one; for a host's own allocations (see std::set_new_handler). From any thread.
NAXFEWXMLDB_EXPORT void NoteFailedAllocation() noexcept;

} // namespace Nax::FrontEnd::XMLDB
