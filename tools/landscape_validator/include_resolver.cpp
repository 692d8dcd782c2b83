// SPDX-License-Identifier: Apache-2.0
#include "include_resolver.h"

#include "platform/brief_path.h"
#include "platform/url.h"
#include "printable.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <system_error>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::BriefPath;
using Nax::FrontEnd::XMLDB::DotSegments;
using Nax::FrontEnd::XMLDB::ParseUrl;
using Nax::FrontEnd::XMLDB::SUrl;
namespace fs = std::filesystem;

namespace {

/// Scheme of a URL in lower case; empty without one. A single letter is a drive, not a scheme.
std::string SchemeOf(const std::string& url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string::npos || colon < 2 ||
        std::isalpha(static_cast<unsigned char>(url[0])) == 0) {
        return {};
    }
    std::string scheme = url.substr(0, colon);
    for (char& character : scheme) {
        const auto byte = static_cast<unsigned char>(character);
        if (std::isalnum(byte) == 0 && character != '+' && character != '-' && character != '.') {
            return {};
        }
        character = static_cast<char>(std::tolower(byte));
    }
    return scheme;
}

int HexValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const int lower = std::tolower(static_cast<unsigned char>(digit));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// As it stands when that gives no UTF-8, which all names are. A zero character ends texts in many
/// places, so its escape stays too: no file has it in its name.
std::string DecodePercent(const std::string& text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const int high = text[at] == '%' && at + 2 < text.size() ? HexValue(text[at + 1]) : -1;
        const int low = high >= 0 ? HexValue(text[at + 2]) : -1;
        if (low >= 0 && high + low > 0) {
            decoded += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return IsUtf8(decoded) ? decoded : text;
}

/// Path of a file: URL: without scheme and empty or local host.
std::string FileUrlPath(const std::string& url) {
    std::string rest = url.substr(url.find(':') + 1);
    if (rest.starts_with("//")) {
        rest.erase(0, 2);
        const std::size_t slash = std::min(rest.find('/'), rest.size());
        if (slash == 0 || rest.substr(0, slash) == "localhost") {
            rest.erase(0, slash);
        }
    }
    return DecodePercent(rest);
}

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

fs::path ResolveLocal(const std::string& including, const std::string& url) {
    const fs::path folder = fs::path(including).parent_path();
    const std::string collapsed = WithoutSpaceAround(url);
    if (SchemeOf(collapsed) == "file") {
        return BriefPath(folder / FileUrlPath(collapsed));
    }
    std::string slashes = url;
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    const std::string withoutFragment = collapsed.substr(0, collapsed.find('#'));
    for (const std::string& form :
         {url, collapsed, DecodePercent(collapsed), slashes, DecodePercent(withoutFragment)}) {
        if (const fs::path path = folder / form; Exists(path)) {
            return BriefPath(path);
        }
    }
    return BriefPath(folder / collapsed);
}

/// True for what names a file of this machine wherever it stands: file:, a drive, a share.
bool NamesLocalFile(const std::string& url) {
    const bool drive =
        url.size() > 1 && std::isalpha(static_cast<unsigned char>(url[0])) != 0 && url[1] == ':';
    return drive || url.starts_with('\\') || SchemeOf(url) == "file";
}

/// True when the decoded path, segment by segment, leaves the folder it starts in, or holds what
/// could be taken for a separator by somebody else.
bool Leaves(const std::string& decoded) {
    int depth = 0;
    for (std::size_t begin = 0; begin <= decoded.size() && depth >= 0;) {
        const std::size_t end = std::min(decoded.find('/', begin), decoded.size());
        const std::string segment = decoded.substr(begin, end - begin);
        if (segment == "..") {
            --depth;
        } else if (!segment.empty() && segment != ".") {
            ++depth;
        }
        begin = end + 1;
    }
    return depth < 0 || decoded.find('\\') != std::string::npos;
}

/// The mapping with the longest prefix of a URL; null when there is none.
const SIncludeRoot* FindRoot(const std::string& url, const SIncludeOptions& options) {
    const SIncludeRoot* longest = nullptr;
    for (const SIncludeRoot& root : options.roots) {
        if (url.starts_with(root.prefix) &&
            (longest == nullptr || root.prefix.size() > longest->prefix.size())) {
            longest = &root;
        }
    }
    return longest;
}

/// What stands behind the prefix, decoded. A query names no file, so it is dropped.
std::string RestOf(const std::string& url, const SIncludeRoot& root) {
    return DecodePercent(url.substr(root.prefix.size(), url.find('?') - root.prefix.size()));
}

SResolvedInclude NotRead(SResolvedInclude include, const std::string& why, bool fault) {
    include.identity = include.url;
    include.notRead = why;
    include.fault = fault;
    return include;
}

/// `asWritten` is the URL with its ".." still in it: the normal form would hide an attempt to
/// leave.
bool ResolveByRoot(const SUrl& url, const SUrl& asWritten, const SIncludeOptions& options,
                   SResolvedInclude& include) {
    const SIncludeRoot* const written = FindRoot(asWritten.shown, options);
    const SIncludeRoot* const root = FindRoot(url.shown, options);
    if ((written != nullptr && Leaves(RestOf(asWritten.shown, *written))) ||
        (root != nullptr && Leaves(RestOf(url.shown, *root)))) {
        const SIncludeRoot& left = written != nullptr ? *written : *root;
        include = NotRead(include,
                          "The included file was refused: its URL leads out of the folder '" +
                              left.folder + "' that --include-root names.",
                          true);
        return true;
    }
    if (root == nullptr) {
        return false;
    }
    const fs::path rest = fs::path(RestOf(url.shown, *root)).lexically_normal().relative_path();
    include.path = BriefPath(fs::path(root->folder) / rest).string();
    include.identity = IdentityOfFile(include.path);
    return true;
}

SResolvedInclude ResolveUrl(const std::string& base, const std::string& text,
                            const SIncludeOptions& options) {
    SResolvedInclude include;
    include.url = WithoutUserInfo(text);
    const std::optional<SUrl> url = ParseUrl(text, base);
    const std::optional<SUrl> asWritten = ParseUrl(text, base, DotSegments::Keep);
    if (url && asWritten) {
        include.url = url->shown;
        include.base = url->full;
        include.fromUrl = true;
        if (ResolveByRoot(*url, *asWritten, options, include)) {
            return include;
        }
    }
    const std::string scheme = url ? url->scheme : SchemeOf(text);
    if (scheme != "http" && scheme != "https") {
        return NotRead(include,
                       "The included file was not followed: only files and http: and https: URLs "
                       "can be read.",
                       false);
    }
    if (!options.remote) {
        return NotRead(include,
                       "The included file was not followed: only local files are read. "
                       "--remote-includes fetches it, --include-root reads a local copy.",
                       false);
    }
    if (!url) {
        return NotRead(include, "The included file cannot be fetched: its URL is not valid.", true);
    }
    include.fetchUrl = url->full;
    include.identity = url->shown;
    return include;
}

} // namespace

std::string WithoutUserInfo(const std::string& text) {
    const std::size_t slashes = text.find("//");
    if (slashes == std::string::npos) {
        return text;
    }
    const std::size_t host = slashes + 2;
    const std::size_t at = text.substr(0, text.find_first_of("/?#", host)).rfind('@');
    return at == std::string::npos || at < host ? text : text.substr(0, host) + text.substr(at + 1);
}

std::string WithoutSpaceAround(const std::string& url) {
    constexpr const char* kSpace = " \t\r\n";
    const std::size_t first = url.find_first_not_of(kSpace);
    return first == std::string::npos ? std::string()
                                      : url.substr(first, url.find_last_not_of(kSpace) - first + 1);
}

std::string IdentityOfFile(const std::string& path) {
    std::error_code error;
    fs::path identity = fs::weakly_canonical(path, error);
    if (error) {
        identity = fs::absolute(path, error).lexically_normal();
    }
    return identity.string();
}

SResolvedInclude ResolveInclude(const std::string& base, bool baseIsUrl, const std::string& url,
                                const SIncludeOptions& options) {
    const std::string text = WithoutSpaceAround(url);
    SResolvedInclude include;
    if (text.size() > kMaxIncludeUrl) {
        include.url = WithoutUserInfo(text);
        return NotRead(include,
                       "The included file was refused: its URL has more than 10,000 bytes.", true);
    }
    if (baseIsUrl && NamesLocalFile(text)) {
        include.url = WithoutUserInfo(text);
        return NotRead(include,
                       "The included file was refused: a file that comes from a server may not "
                       "name local files.",
                       true);
    }
    const std::string scheme = SchemeOf(text);
    if (baseIsUrl || (!scheme.empty() && scheme != "file")) {
        return ResolveUrl(baseIsUrl ? base : std::string(), text, options);
    }
    include.path = AsLocalPath(ResolveLocal(base, url).string());
    if (include.path.empty()) { // a blank URL in a file of the working folder
        include.path = ".";
    }
    include.url = include.path;
    include.base = include.path;
    include.identity = IdentityOfFile(include.path);
    return include;
}

std::string AsLocalPath(const std::string& path) {
    return SchemeOf(path).empty() ? path : "./" + path;
}

bool IsRemoteUrl(const std::string& url) {
    const std::string scheme = SchemeOf(url);
    return !scheme.empty() && scheme != "file";
}

} // namespace LandscapeValidator
