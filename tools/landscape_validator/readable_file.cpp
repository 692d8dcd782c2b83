// SPDX-License-Identifier: Apache-2.0
#include "readable_file.h"

#include "printable.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

std::string WhyUnreadable(const std::string& path, Pipes pipes) {
    if (!IsUtf8(path)) {
        return "Its name is not UTF-8";
    }
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        return error ? error.message() : "No such file or directory";
    }
    if (!fs::is_regular_file(status)) {
        if (pipes == Pipes::Untried) {
            return {};
        }
        return fs::is_directory(status) ? "It is a folder" : "It is not a file";
    }
    errno = 0;
    const std::ifstream file(path, std::ios::binary);
    return file ? std::string() : std::generic_category().message(errno);
}

bool ReadAtMost(std::istream& in, std::size_t limit, std::string& text) {
    std::string block(std::size_t{1} << 16U, '\0');
    while (in && text.size() <= limit) {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        text.append(block, 0, static_cast<std::size_t>(in.gcount()));
    }
    return text.size() <= limit;
}

} // namespace LandscapeValidator
