// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// One entry of an archive. Folders come before what they hold.
struct SArchiveEntry {
    std::string name; ///< UTF-8, parts separated by "/"
    std::string file; ///< whose bytes and last write time are stored; empty for a folder
};

/// Writes a zip archive whose files are sealed with `key` by AES-256.
///
/// The archive is readable by its user only. It is written beside `path` under names that begin
/// with `path` and ".part", and renamed when it is complete: on any failure, and when `isCancelled`
/// (asked many times; may be empty) answers true, what stood at `path` stays and no other file is
/// left. What a killed process left is removed by the next call. One call a path at a time.
///
/// Returns why it failed; empty on success.
std::string WriteArchive(const std::string& path, const std::vector<SArchiveEntry>& entries,
                         const std::string& key, const std::function<bool()>& isCancelled);

} // namespace Nax::FrontEnd::XMLDB
