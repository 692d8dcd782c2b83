// SPDX-License-Identifier: Apache-2.0
#include "file_list.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

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

std::string DecodePercent(const std::string& text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const int high = text[at] == '%' && at + 2 < text.size() ? HexValue(text[at + 1]) : -1;
        const int low = high >= 0 ? HexValue(text[at + 2]) : -1;
        if (low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return decoded;
}

/// Without white space around it, which is no part of a URL.
std::string Collapsed(const std::string& url) {
    constexpr const char* kSpace = " \t\r\n";
    const std::size_t first = url.find_first_not_of(kSpace);
    return first == std::string::npos ? std::string()
                                      : url.substr(first, url.find_last_not_of(kSpace) - first + 1);
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

fs::path ResolveInclude(const std::string& including, const std::string& url) {
    const fs::path folder = fs::path(including).parent_path();
    if (SchemeOf(Collapsed(url)) == "file") {
        return (folder / FileUrlPath(Collapsed(url))).lexically_normal();
    }
    std::string slashes = url;
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    const std::string collapsed = Collapsed(url);
    const std::string withoutFragment = collapsed.substr(0, collapsed.find('#'));
    for (const std::string& form :
         {url, collapsed, DecodePercent(collapsed), slashes, DecodePercent(withoutFragment)}) {
        if (const fs::path path = folder / form; Exists(path)) {
            return path.lexically_normal();
        }
    }
    return (folder / collapsed).lexically_normal();
}

/// The same for all names of one file.
std::string IdentityOf(const fs::path& path) {
    std::error_code error;
    fs::path identity = fs::weakly_canonical(path, error);
    if (error) {
        identity = fs::absolute(path, error).lexically_normal();
    }
    return identity.string();
}

} // namespace

bool IsRemoteUrl(const std::string& url) {
    const std::string scheme = SchemeOf(Collapsed(url));
    return !scheme.empty() && scheme != "file";
}

bool CFileList::IsNew(const std::string& identity) {
    return m_seen.insert(identity).second;
}

void CFileList::AddCommandLineFile(const std::string& path) {
    if (IsNew(IdentityOf(path))) {
        SLandscapeFile file;
        file.index = static_cast<int>(m_files.size());
        file.url = path;
        file.path = path;
        m_files.push_back(std::move(file));
    }
}

void CFileList::AddInclude(const SLandscapeFile& includingFile, const SInclude& include) {
    if (Collapsed(include.url).empty()) {
        return; // names nothing; the schema check tells a missing attribute
    }
    SLandscapeFile file;
    file.index = static_cast<int>(m_files.size());
    file.description = include.description;
    file.name = include.name;
    file.includedBy = includingFile.url;
    if (IsRemoteUrl(include.url)) {
        file.url = Collapsed(include.url);
    } else {
        file.path = ResolveInclude(includingFile.path, include.url).string();
        file.url = file.path;
    }
    if (IsNew(file.path.empty() ? file.url : IdentityOf(file.path))) {
        m_files.push_back(std::move(file));
    }
}

} // namespace LandscapeValidator
