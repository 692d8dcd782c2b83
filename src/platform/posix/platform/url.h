// SPDX-License-Identifier: Apache-2.0
#pragma once

// Absolute URLs in one form, so that two spellings of one address are equal. For programs; not part
// of the library.
#include <optional>
#include <string>

namespace Nax::FrontEnd::XMLDB {

struct SUrl {
    std::string scheme; ///< in lower case
    std::string full;   ///< what is asked for: user name and password included
    std::string shown;  ///< the same without user name and password, for people and as a key
    std::string path;   ///< begins with a slash; percent escapes as they stand
    std::string query;  ///< without the question mark; may be empty
};

enum class DotSegments { Resolve, Keep };

/// Reads `text`, against `base` (an absolute URL) when that is not empty. Scheme and host become
/// lower case, the scheme's own port and the fragment are left out, what a URL may not hold is
/// percent-encoded. Nothing when it is no absolute URL with a host.
std::optional<SUrl> ParseUrl(const std::string& text, const std::string& base = {},
                             DotSegments dots = DotSegments::Resolve);

} // namespace Nax::FrontEnd::XMLDB
