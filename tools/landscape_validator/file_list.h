// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "element_collector.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <set>
#include <string>

namespace LandscapeValidator {

/// One landscape file of a run.
struct SLandscapeFile {
    int index = 0;
    std::string url;  ///< how the file is named in the database and in messages
    std::string path; ///< what is opened; empty for a file that is not followed
    std::optional<std::string> description;
    std::optional<std::string> name;
    std::string includedBy; ///< url of the including file; empty for a file of the command line
};

/// The files of a run in order of discovery, each once: those of the command line first, then
/// those that include entries name. References stay valid while files are added.
class CFileList {
public:
    void AddCommandLineFile(const std::string& path);
    /// Resolves the entry's URL against the including file. Relative URLs are taken as written
    /// and, where no such file exists, with percent escapes decoded; file: URLs are decoded.
    void AddInclude(const SLandscapeFile& includingFile, const SInclude& include);

    std::size_t GetCount() const { return m_files.size(); }
    const SLandscapeFile& operator[](std::size_t index) const { return m_files[index]; }

private:
    bool IsNew(const std::string& identity);

    std::deque<SLandscapeFile> m_files;
    std::set<std::string> m_seen;
};

/// True for a URL of another scheme than file:, which this tool does not follow.
bool IsRemoteUrl(const std::string& url);

} // namespace LandscapeValidator
