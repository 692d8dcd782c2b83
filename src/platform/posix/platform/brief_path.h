// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <system_error>

namespace Nax::FrontEnd::XMLDB {

/// A path without the "." and ".." that it can do without: "link/.." stays where it is not the
/// folder that holds the link, since to the system it is the one above the link's target. Asks the
/// file system only for paths with "..".
inline std::filesystem::path BriefPath(const std::filesystem::path& path) {
    std::filesystem::path brief = path.lexically_normal();
    for (const std::filesystem::path& part : path) {
        if (part == "..") {
            std::error_code error;
            const bool same = weakly_canonical(path, error) == weakly_canonical(brief, error);
            return same && !error ? brief : path;
        }
    }
    return brief;
}

} // namespace Nax::FrontEnd::XMLDB
