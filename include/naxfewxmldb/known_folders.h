// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/text_types.h>

namespace Nax::FrontEnd::XMLDB {

/// The user's folders that the library uses.
enum class KnownFolder {
    LocalAppData, ///< holds the database
    AppData       ///< holds the configuration and the exports
};

/// Replaces a folder for this process; a null or empty path removes the replacement. The folder is
/// created when it is first needed. May be called from any thread; what was opened before stays
/// where it is. The trace level is read once, so to take it from another application-data folder,
/// call this before anything else of the library.
NAXFEWXMLDB_EXPORT void OverrideKnownFolder(KnownFolder folder, const _bstr_t& path);

} // namespace Nax::FrontEnd::XMLDB
