// SPDX-License-Identifier: Apache-2.0
#include "fuzz_support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>

namespace Fuzzing {

namespace fs = std::filesystem;

void Require(bool holds, std::string_view property, std::string_view detail) {
    if (!holds) {
        std::cerr << "PROPERTY BROKEN: " << property << '\n' << detail << std::endl;
        std::abort();
    }
}

CScratch::CScratch() {
    std::error_code ignored;
    const fs::path memory = "/dev/shm";
    const bool useMemory = std::getenv("TMPDIR") == nullptr && fs::is_directory(memory, ignored);
    const fs::path base = useMemory ? memory : fs::temp_directory_path();
    std::random_device random;
    do {
        m_folder = (base / ("naxfuzz-" + std::to_string(random()))).string();
    } while (!fs::create_directory(m_folder));
}

CScratch::~CScratch() {
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

std::string CScratch::Write(std::string_view name, std::string_view content) const {
    const std::string path = Path(name);
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    Require(!file.fail(), "the scratch folder can be written", path);
    return path;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Require(file.is_open(), "the file is there", path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint8_t CPieces::Byte() {
    if (m_rest.empty()) {
        return 0;
    }
    const auto byte = static_cast<std::uint8_t>(m_rest.front());
    m_rest.remove_prefix(1);
    return byte;
}

std::string_view CPieces::Text() {
    const std::size_t end = m_rest.find('\0');
    const std::string_view text = m_rest.substr(0, end);
    m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
    return text;
}

} // namespace Fuzzing
