// SPDX-License-Identifier: Apache-2.0
#include "formats/output_file.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

std::string LastReason() {
    return errno != 0 ? std::generic_category().message(errno) : "It cannot be written";
}

bool WriteInto(const fs::path& path, const std::function<void(std::ostream&)>& write,
               std::string& reason) {
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (file) {
        write(file);
        file.close();
    }
    if (!file) {
        reason = LastReason();
        return false;
    }
    return true;
}

/// A name beside `path` that nobody else has: two runs may write the same file.
fs::path TemporaryName(const fs::path& path) {
    std::random_device random;
    fs::path name = path;
    name += fmt::format(".{:08x}.tmp", random());
    return name;
}

bool Replace(const fs::path& path, const fs::path& temporary, const fs::file_status& status,
             std::string& reason) {
    std::error_code error;
    if (fs::exists(status)) {
        fs::permissions(temporary, status.permissions(), error);
    }
    fs::rename(temporary, path, error);
    if (error) {
        reason = error.message();
    }
    return !error;
}

} // namespace

bool WriteWholeFile(const std::string& path, const std::function<void(std::ostream&)>& write,
                    std::string& reason) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        reason = "It is a folder";
        return false;
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        return WriteInto(path, write, reason);
    }
    fs::path target = path;
    if (fs::exists(status)) {
        if (const fs::path real = fs::canonical(path, error); !error) {
            target = real;
        }
    }
    const fs::path temporary = TemporaryName(target);
    const bool written =
        WriteInto(temporary, write, reason) && Replace(target, temporary, status, reason);
    if (!written) {
        fs::remove(temporary, error);
    }
    return written;
}

} // namespace LandscapeValidator
