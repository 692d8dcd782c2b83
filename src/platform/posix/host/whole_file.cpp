// SPDX-License-Identifier: Apache-2.0
#include "platform/whole_file.h"

#include "descriptor.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <streambuf>
#include <string_view>
#include <system_error>

namespace Nax::FrontEnd::XMLDB {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPartEnd = ".part";
constexpr std::size_t kDigits = 8;
// A name has 255 bytes at most, and the part's has to hold more than the file's.
constexpr std::size_t kLongestStem = 255 - kPartEnd.size() - kDigits - 1;
constexpr mode_t kOrdinary = 0666;
constexpr mode_t kPrivate = 0600;

std::string Message(int code) {
    return std::generic_category().message(code == 0 ? EIO : code);
}

/// Writes to a descriptor and remembers why it could not: a stream's own state does not tell.
class CDescriptorBuffer : public std::streambuf {
public:
    explicit CDescriptorBuffer(int file) : m_file(file) {
        setp(m_block.data(), m_block.data() + m_block.size());
    }
    int GetReason() const { return m_reason; }

protected:
    int_type overflow(int_type character) override {
        if (!Flush()) {
            return traits_type::eof();
        }
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(character);
            pbump(1);
        }
        return traits_type::not_eof(character);
    }
    int sync() override { return Flush() ? 0 : -1; }

private:
    bool Flush() {
        if (m_reason == 0 &&
            !WriteAll(m_file, pbase(), static_cast<std::size_t>(pptr() - pbase()))) {
            m_reason = errno;
        }
        setp(m_block.data(), m_block.data() + m_block.size());
        return m_reason == 0;
    }

    int m_file;
    int m_reason = 0;
    std::array<char, 65536> m_block{};
};

using Write = std::function<void(std::ostream&)>;

/// 0, or why not every byte could be written.
int WriteTo(int file, const Write& write) {
    CDescriptorBuffer buffer(file);
    std::ostream stream(&buffer);
    write(stream);
    stream.flush();
    return buffer.GetReason() != 0 ? buffer.GetReason() : (stream ? 0 : EIO);
}

std::string StemOf(const fs::path& path) {
    return path.filename().string().substr(0, kLongestStem) + '.';
}

fs::path FolderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

bool IsPartOf(const std::string& name, const std::string& stem) {
    return name.size() == stem.size() + kDigits + kPartEnd.size() && name.starts_with(stem) &&
           name.ends_with(kPartEnd) &&
           name.find_first_not_of("0123456789abcdef", stem.size()) == stem.size() + kDigits;
}

/// The file's unfinished successor. While it is open it is locked, by which others see that
/// somebody is at work on it.
class CPart {
public:
    explicit CPart(const fs::path& target) : m_target(target) {}
    CPart(const CPart&) = delete;
    CPart& operator=(const CPart&) = delete;
    ~CPart() {
        if (m_file >= 0) {
            unlink(m_name.c_str());
            close(m_file);
        }
    }

    /// Each of these is 0 or the system's reason.
    int Create(mode_t mode) {
        std::random_device random;
        for (;;) {
            std::array<char, kDigits + 1> digits{};
            std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned>(random()));
            m_name =
                FolderOf(m_target) / (StemOf(m_target) + digits.data() + std::string(kPartEnd));
            m_file = open(m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            if (m_file < 0 && errno != EEXIST) {
                return errno;
            }
            if (m_file >= 0 && IsOurs()) {
                return 0;
            }
            if (m_file >= 0) {
                close(m_file);
            }
        }
    }
    int Get() const { return m_file; }
    int Finish(bool toDisk) {
        // Some file systems have nothing to bring anywhere.
        if (toDisk && fsync(m_file) != 0 && errno != EINVAL && errno != ENOTSUP) {
            return errno;
        }
        // An error that was put off shows up when a descriptor is closed; the other one keeps the
        // lock until the file has its name.
        const int copy = fcntl(m_file, F_DUPFD_CLOEXEC, 0);
        if ((copy >= 0 && close(copy) != 0) || rename(m_name.c_str(), m_target.c_str()) != 0) {
            return errno;
        }
        close(m_file);
        m_file = -1;
        return 0;
    }

private:
    /// False when somebody who clears up has been faster than the lock.
    bool IsOurs() const {
        struct stat status = {};
        return (flock(m_file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) &&
               fstat(m_file, &status) == 0 && status.st_nlink != 0;
    }

    fs::path m_target;
    fs::path m_name;
    int m_file = -1;
};

void RemoveLeftParts(const fs::path& target) {
    std::error_code error;
    const std::string stem = StemOf(target);
    for (fs::directory_iterator entry(FolderOf(target), error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path& path = entry->path();
        if (!IsPartOf(path.filename().string(), stem)) {
            continue;
        }
        const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
            unlink(path.c_str());
        }
    }
}

int Replace(const fs::path& target, const fs::file_status& status, mode_t mode, bool toDisk,
            const Write& write) {
    RemoveLeftParts(target);
    CPart part(target);
    int code = part.Create(mode);
    if (code == 0 && fs::exists(status)) {
        // As far as the file system knows rights.
        static_cast<void>(fchmod(part.Get(), static_cast<mode_t>(status.permissions())));
    }
    if (code == 0) {
        code = WriteTo(part.Get(), write);
    }
    return code == 0 ? part.Finish(toDisk) : code;
}

int WriteInto(const std::string& path, const Write& write) {
    CDescriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    const int code = file.IsOpen() ? WriteTo(file.Get(), write) : errno;
    return code != 0 || file.Close() ? code : errno;
}

bool WriteFile(const std::string& path, mode_t mode, bool toDisk, const Write& write,
               std::string& reason) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        reason = "It is a folder";
        return false;
    }
    int code = 0;
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        code = WriteInto(path, write);
    } else if (status.type() == fs::file_type::not_found) {
        code = Replace(path, status, mode, toDisk, write);
    } else { // through a link
        const fs::path real = fs::exists(status) ? fs::canonical(path, error) : fs::path();
        code = error ? error.value() : Replace(real, status, mode, toDisk, write);
    }
    reason = code == 0 ? std::string() : Message(code);
    return code == 0;
}

} // namespace

bool WriteWholeFile(const std::string& path, const Write& write, std::string& reason) {
    return WriteFile(path, kOrdinary, true, write, reason);
}

bool ReplaceFile(const std::string& path, const std::string& content, std::string& reason) {
    return WriteFile(
        path, kPrivate, false, [&content](std::ostream& stream) { stream << content; }, reason);
}

} // namespace Nax::FrontEnd::XMLDB
