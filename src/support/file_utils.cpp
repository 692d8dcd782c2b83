// SPDX-License-Identifier: Apache-2.0
#include "support/file_utils.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string_view>
#include <system_error>

#include "platform/files.h"
#include "support/format.h"
#include "support/trace.h"

namespace Nax::FrontEnd::XMLDB::Utils {
namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::Utils::CFUtils";

/// Serialises writing and makes the standard streams independent once.
class CFileLock {
public:
    CFileLock() : m_lock(GetMutex()) {
        static const bool independent = [] {
            std::ios::sync_with_stdio(false);
            return true;
        }();
        static_cast<void>(independent);
    }

    /// Kept by whoever holds the lock.
    static std::string& Failure() {
        static std::string failure;
        return failure;
    }

private:
    static std::mutex& GetMutex() {
        static std::mutex mutex;
        return mutex;
    }
    std::lock_guard<std::mutex> m_lock;
};

enum class WriteResult { Done, NotOpened, Incomplete };

const char* Reason(WriteResult result) noexcept {
    return result == WriteResult::NotOpened ? "Error: file could not be opened"
                                            : "Error: file could not be written";
}

WriteResult Fail(WriteResult result, const std::string& path, int code) {
    if (std::string& failure = CFileLock::Failure(); failure.empty()) {
        const std::string name = std::filesystem::path(path).filename().string();
        const std::string reason =
            code == 0 ? "It cannot be written" : std::generic_category().message(code);
        failure = "'" + name + "': " + reason;
    }
    return result;
}

void RemoveIncomplete(const std::string& path) {
    std::error_code error;
    // Never a device or a pipe.
    if (std::filesystem::is_regular_file(path, error)) {
        DeleteFileA(path.c_str());
    }
}

WriteResult WriteFile(const std::string& path, std::string_view content, std::ios::openmode mode) {
    const CFileLock lock;
    errno = 0;
    std::ofstream file(path, std::ios::out | std::ios::trunc | mode);
    if (!file.is_open()) {
        return Fail(WriteResult::NotOpened, path, errno);
    }
    errno = 0;
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    // Closing tells why when writing has not, and may hide it when it has.
    const int code = file.fail() ? errno : 0;
    file.close();
    if (file.fail()) {
        const WriteResult result = Fail(WriteResult::Incomplete, path, code == 0 ? errno : code);
        RemoveIncomplete(path);
        return result;
    }
    return WriteResult::Done;
}

bool ReadFile(const std::string& path, std::string& content) {
    std::ifstream file(path);
    if (!file.is_open()) {
        return false;
    }
    std::array<char, 65536> block = {};
    while (file.read(block.data(), block.size()) || file.gcount() > 0) {
        content.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    return !file.bad();
}

} // namespace

int CFUtils::ToFile(const std::string& path, const std::string& text) {
    const WriteResult result = WriteFile(path, text, std::ios::openmode());
    if (result != WriteResult::Done) {
        NAX_TRACE_ERROR_STATIC(kClass, "%s\n", Reason(result));
    }
    return result == WriteResult::Done ? 1 : 0;
}

int CFUtils::ToFile(const std::string& path, const void* bytes, std::size_t count) {
    const std::string_view content(static_cast<const char*>(bytes), count);
    const WriteResult result = WriteFile(path, content, std::ios::binary);
    if (result != WriteResult::Done) {
        NAX_TRACE_ERROR_STATIC(kClass, "%s\n", Reason(result));
    }
    return result == WriteResult::Done ? 1 : 0;
}

std::string CFUtils::GetFailure() {
    const CFileLock lock;
    return CFileLock::Failure();
}

void CFUtils::ForgetFailure() {
    const CFileLock lock;
    CFileLock::Failure().clear();
}

std::string CFUtils::FromFile(const std::string& path) {
    std::string content;
    if (!ReadFile(path, content)) {
        NAX_TRACE_ERROR_STATIC(kClass, "Error: file could not be opened\n");
        return {};
    }
    return content;
}

std::string CFUtils::GetFileTimeText(const std::string& path) {
    SYSTEMTIME time = {};
    if (!GetLastWriteTime(path, &time)) {
        return "Error";
    }
    return Format("%2d.%2d.%4d  %2d-%02d-%02d", time.wDay, time.wMonth, time.wYear, time.wHour,
                  time.wMinute, time.wSecond);
}

std::string CFUtils::GetReportBackupName(const std::string& folder, const std::string& file) {
    if (!std::ifstream(file).is_open()) {
        return {};
    }
    return JoinPath(folder, "ReportBackup.zip") + "_" + GetFileTimeText(file) + "_.zip";
}

} // namespace Nax::FrontEnd::XMLDB::Utils
