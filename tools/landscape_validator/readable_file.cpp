// SPDX-License-Identifier: Apache-2.0
#include "readable_file.h"

#include "printable.h"

#include <fmt/format.h>

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

bool ReadFile(const std::string& path, std::string& content, std::string& reason,
              std::size_t limit) {
    constexpr std::size_t kBlock = std::size_t{1} << 16U;
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string block(kBlock, '\0');
    content.clear();
    // An iterator over the stream would throw what reading marks as bad.
    while (file && (file.read(block.data(), static_cast<std::streamsize>(block.size())) ||
                    file.gcount() > 0)) {
        content.append(block, 0, static_cast<std::size_t>(file.gcount()));
        if (content.size() > limit) {
            reason = fmt::format("it is larger than {} MB", limit >> 20U);
            return false;
        }
    }
    if (file.is_open() && !file.bad()) {
        return true;
    }
    reason = std::generic_category().message(errno == 0 ? EIO : errno);
    return false;
}

} // namespace LandscapeValidator
