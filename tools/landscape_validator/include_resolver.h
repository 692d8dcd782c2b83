// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// A folder that stands for all URLs that begin with a prefix.
struct SIncludeRoot {
    std::string prefix; ///< in normal form; ends with a slash
    std::string folder;
};

/// How includes are followed.
struct SIncludeOptions {
    static constexpr std::size_t kDefaultMaxSize = std::size_t{64} << 20U;
    static constexpr int kDefaultTimeout = 30;

    bool remote = false;                   ///< http: and https: includes are fetched
    std::size_t maxSize = kDefaultMaxSize; ///< bytes of one fetched file
    int timeout = kDefaultTimeout;         ///< seconds for one fetched file, redirects included
    std::string cacheFolder;               ///< empty: the user's
    std::string certificates;              ///< file of further authorities to trust
    std::vector<std::string> rootWords;    ///< PREFIX=FOLDER
    std::vector<SIncludeRoot> roots;       ///< what the words mean
};

/// What an include entry's URL means.
struct SResolvedInclude {
    std::string url;      ///< how the file is named in the database and in messages
    std::string path;     ///< local file to open; empty when there is none
    std::string fetchUrl; ///< what to ask a web server for; empty when the file is local
    std::string base;     ///< what relative URLs inside the file are resolved against
    bool fromUrl = false; ///< its content comes from a server: it may not name local files
    std::string notRead;  ///< why the file is not read; empty when it is
    bool fault = false;   ///< that it is not read is a fault, not by choice
    std::string identity; ///< equal for all names of one file
};

/// Bytes of a longer URL, which names no file that can be opened, and is refused.
inline constexpr std::size_t kMaxIncludeUrl = 10'000;

/// Resolves an include entry's URL, which is not empty, against the including file's base.
///
/// Relative URLs inside local files are taken as written and, where no such file exists, with
/// percent escapes decoded; file: URLs are decoded. Inside a file that came by a URL everything is
/// a URL, and one that names a local file is refused: a server must not choose what is read here.
SResolvedInclude ResolveInclude(const std::string& base, bool baseIsUrl, const std::string& url,
                                const SIncludeOptions& options);

/// The same for all names of one local file.
std::string IdentityOfFile(const std::string& path);

/// A text that may be a URL, without user name and password; for what no URL can be made of.
std::string WithoutUserInfo(const std::string& text);

/// Without white space around it, which is no part of a URL.
std::string WithoutSpaceAround(const std::string& url);

/// The path of a file here. A name like "a:b" would read as a URL everywhere else.
std::string AsLocalPath(const std::string& path);

/// True for a URL of another scheme than file:.
bool IsRemoteUrl(const std::string& url);

} // namespace LandscapeValidator
