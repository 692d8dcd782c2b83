// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

namespace LandscapeValidator {

/// Names files as seen from a folder, the same whatever path a file was named by: links to the
/// folders are resolved, the file's own name stays. Keeps what it resolved; one thread at a time.
class CFileNames {
public:
    explicit CFileNames(const std::string& folder);

    /// `path` from the folder on, with slashes; it begins with "../" when the file is elsewhere.
    /// URLs other than of files, and the empty path, stay as they are.
    std::string Relative(const std::string& path);
    /// The whole path of a file.
    std::string Absolute(const std::string& path);

private:
    std::string m_folder;
    std::map<std::string, std::string> m_folders;
};

/// True when a path that Relative gave is below the folder.
bool IsBelow(const std::string& relative);

} // namespace LandscapeValidator
