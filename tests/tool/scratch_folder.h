// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace LandscapeValidator::Testing {

/// A folder of its own for one test, removed with everything in it.
class CScratchFolder {
public:
    CScratchFolder();
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;
    ~CScratchFolder();

    std::string Path(const std::string& name) const { return (m_path / name).string(); }
    /// Writes a file, making its folders, and returns its path.
    std::string Write(const std::string& name, const std::string& text) const;

private:
    std::filesystem::path m_path;
};

} // namespace LandscapeValidator::Testing
