// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace LandscapeValidator {

/// A file as a server once sent it.
struct SCachedFile {
    std::string foundUrl; ///< where it was, after redirects; without user name and password
    std::string entityTag;
    std::string lastModified;
    std::int64_t fetched = 0; ///< seconds since 1970
    std::string body;
};

/// Copies of fetched files in a folder, one file each, named by a hash of the URL.
///
/// The URL stands in the file and is compared, so that two URLs with one hash, or a file that
/// somebody else put there under the name, give no copy instead of a wrong one. A copy is replaced
/// as a whole; several processes may use one folder.
class CRemoteCache {
public:
    /// An empty `folder` is a cache that holds nothing.
    explicit CRemoteCache(std::string folder);

    std::optional<SCachedFile> Find(const std::string& url) const;
    /// Makes the folder when it is missing. False with `message` when the copy cannot be kept.
    bool Store(const std::string& url, const SCachedFile& file, std::string& message) const;

private:
    std::string PathOf(const std::string& url) const;

    std::string m_folder;
};

/// The user's cache folder for this program; empty when there is none.
std::string DefaultRemoteCacheFolder();

} // namespace LandscapeValidator
