// SPDX-License-Identifier: Apache-2.0
#include "remote_cache.h"

#include "platform/host_files.h"
#include "platform/whole_file.h"
#include "readable_file.h"

#include <fmt/format.h>

#include <charconv>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

// A copy is this line, then a line each for URL, URL found, entity tag, date, time of fetching and
// size, then the body. The number changes with the form: an older copy is then no copy.
constexpr char kFirstLine[] = "landscape-validator cached file 1";

/// FNV-1a: it need not withstand attacks, since the URL inside is compared.
std::uint64_t HashOf(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char character : text) {
        hash ^= static_cast<unsigned char>(character);
        hash *= 0x100000001b3U;
    }
    return hash;
}

bool ReadNumber(std::istream& in, std::int64_t& number) {
    std::string line;
    std::getline(in, line);
    const char* const end = line.data() + line.size();
    const auto result = std::from_chars(line.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

/// A header of a server may hold anything but line ends, which would end its line here.
std::string Line(const std::string& text) {
    return text.substr(0, text.find_first_of("\r\n")) + '\n';
}

} // namespace

CRemoteCache::CRemoteCache(std::string folder) : m_folder(std::move(folder)) {}

std::string CRemoteCache::PathOf(const std::string& url) const {
    return (fs::path(m_folder) / fmt::format("{:016x}.cached", HashOf(url))).string();
}

std::optional<SCachedFile> CRemoteCache::Find(const std::string& url) const {
    std::error_code error;
    if (m_folder.empty() || !fs::is_regular_file(PathOf(url), error)) {
        return std::nullopt;
    }
    std::string content;
    std::string ignored;
    if (!ReadFile(PathOf(url), content, ignored)) {
        return std::nullopt;
    }
    std::istringstream in(std::move(content));
    SCachedFile file;
    std::string firstLine;
    std::string storedUrl;
    std::int64_t size = 0;
    std::getline(in, firstLine);
    std::getline(in, storedUrl);
    std::getline(in, file.foundUrl);
    std::getline(in, file.entityTag);
    std::getline(in, file.lastModified);
    if (firstLine != kFirstLine || storedUrl != url || !ReadNumber(in, file.fetched) ||
        !ReadNumber(in, size) || file.fetched < 0) {
        return std::nullopt;
    }
    file.body.assign(std::istreambuf_iterator<char>(in), {});
    if (size < 0 || file.body.size() != static_cast<std::size_t>(size)) {
        return std::nullopt;
    }
    return file;
}

bool CRemoteCache::Store(const std::string& url, const SCachedFile& file,
                         std::string& message) const {
    if (m_folder.empty()) {
        message = "there is no cache folder";
        return false;
    }
    std::error_code error;
    fs::create_directories(m_folder, error);
    if (error) {
        message = error.message();
        return false;
    }
    return Nax::FrontEnd::XMLDB::ReplaceFile(
        PathOf(url),
        Line(kFirstLine) + Line(url) + Line(file.foundUrl) + Line(file.entityTag) +
            Line(file.lastModified) + std::to_string(file.fetched) + '\n' +
            std::to_string(file.body.size()) + '\n' + file.body,
        message);
}

std::string DefaultRemoteCacheFolder() {
    const std::string folder = Nax::FrontEnd::XMLDB::FindCacheFolder();
    return folder.empty() ? folder : folder + "/landscape-validator";
}

} // namespace LandscapeValidator
