// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "element_collector.h"
#include "include_resolver.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

namespace LandscapeValidator {

/// One landscape file of a run.
struct SLandscapeFile {
    int index = 0;
    std::string url;      ///< how the file is named in the database and in messages
    std::string path;     ///< what is opened; empty for a file that is not local
    std::string fetchUrl; ///< what a web server is asked for; empty for a file that is local
    std::string base;     ///< what includes inside it are resolved against
    bool fromUrl = false; ///< its content comes from a server
    std::string notRead;  ///< why the file is not read; empty when it is
    bool fault = false;   ///< that it is not read is a fault
    std::optional<std::string> description;
    std::optional<std::string> name;
    std::string includedBy; ///< url of the including file; empty for a file of the command line
    long includeLine = 0;   ///< where the including file names it
};

/// The files of a run in order of discovery, each once: those of the command line first, then
/// those that include entries name. References stay valid while files are added.
class CFileList {
public:
    explicit CFileList(SIncludeOptions options = {}, std::uint64_t limit = 10'000)
        : m_options(std::move(options)), m_limit(limit) {}

    /// `path` is what is opened. What is read from elsewhere than its name tells (standard input)
    /// has that name in `name`.
    void AddCommandLineFile(const std::string& path, const std::string& name = {});
    /// Resolves the entry's URL against the including file. Beyond the limit of files the first one
    /// is a fault that says so, and the others are left out.
    void AddInclude(const SLandscapeFile& includingFile, const SInclude& include);

    /// A fetched file's copy, and the URL where it was found after redirects. False when that is
    /// another file of this list.
    bool SetFetched(std::size_t index, const std::string& path, const std::string& foundUrl,
                    const std::string& foundIdentity);
    /// The copy that was read exists no more.
    void ForgetPath(std::size_t index) { m_files[index].path.clear(); }

    const SIncludeOptions& GetOptions() const { return m_options; }
    std::uint64_t GetLimit() const { return m_limit; }
    std::size_t GetCount() const { return m_files.size(); }
    const SLandscapeFile& operator[](std::size_t index) const { return m_files[index]; }

private:
    bool IsNew(const std::string& identity) { return m_seen.insert(identity).second; }

    SIncludeOptions m_options;
    std::uint64_t m_limit;
    std::deque<SLandscapeFile> m_files;
    std::set<std::string> m_seen;
    /// Includes as they are written, for each folder: most files of a landscape name the same ones.
    std::unordered_set<std::string> m_written;
};

} // namespace LandscapeValidator
