// SPDX-License-Identifier: Apache-2.0
#include "tool/scratch_folder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace LandscapeValidator::Testing {

CScratchFolder::CScratchFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "landscape-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no scratch folder");
    }
    m_path = pattern;
}

CScratchFolder::~CScratchFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::string CScratchFolder::Write(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = m_path / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
}

} // namespace LandscapeValidator::Testing
