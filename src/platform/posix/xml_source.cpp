// SPDX-License-Identifier: Apache-2.0
#include "xml_source.h"

#include "xml_com_object.h"
#include "xml_source_encoding.h"

#include <fcntl.h>
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t ChunkSize = std::size_t{128} * 1024;

std::string SystemReason(int code) {
    return std::generic_category().message(code);
}

int OpenForReading(const std::string& path, int flags = 0) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | flags);
    if (file < 0) {
        throw CXmlFailure("The file \"" + path + "\" cannot be opened: " + SystemReason(errno) +
                          ".");
    }
    return file;
}

/// A file without a name, in the folder for temporary files.
int OpenTemporaryFile() {
    const char* folder = std::getenv("TMPDIR");
    std::string path = std::string(folder == nullptr || *folder == 0 ? "/tmp" : folder) + "/XXXXXX";
    const int file = ::mkostemp(path.data(), O_CLOEXEC);
    if (file < 0) {
        throw CXmlFailure("A temporary file cannot be made: " + SystemReason(errno) + ".");
    }
    ::unlink(path.c_str());
    return file;
}

std::string ReadAll(int file, const std::string& path, std::size_t limit) {
    std::string text;
    std::vector<char> chunk(ChunkSize);
    for (;;) {
        const ssize_t count = ::read(file, chunk.data(), chunk.size());
        if (count == 0) {
            return text;
        }
        if (count > 0) {
            text.append(chunk.data(), static_cast<std::size_t>(count));
            if (text.size() > limit) {
                throw CXmlFailure("The file \"" + path + "\" is too large to be loaded here.");
            }
        } else if (errno != EINTR) {
            throw CXmlFailure("The file \"" + path + "\" cannot be read: " + SystemReason(errno) +
                              ".");
        }
    }
}

} // namespace

struct CXmlSource::SConverter {
    explicit SConverter(iconv_t opened) : handle(opened), raw(ChunkSize) {}
    SConverter(const SConverter&) = delete;
    SConverter& operator=(const SConverter&) = delete;
    ~SConverter() { iconv_close(handle); }

    iconv_t handle;
    std::vector<char> raw;
    std::size_t rawSize = 0; ///< bytes not yet converted, at the front of `raw`
    bool atEnd = false;
};

CXmlSource::CXmlSource() : m_chunk(ChunkSize) {}

CXmlSource::~CXmlSource() {
    if (m_file >= 0) {
        ::close(m_file);
    }
    if (m_pipe >= 0) {
        ::close(m_pipe);
    }
}

std::unique_ptr<CXmlSource> CXmlSource::FromFile(const std::string& path) {
    std::unique_ptr<CXmlSource> source(new CXmlSource());
    source->m_file = OpenForReading(path);
    struct stat status = {};
    if (::fstat(source->m_file, &status) == 0 && S_ISDIR(status.st_mode)) {
        throw CXmlFailure("\"" + path + "\" is a directory, not a file.");
    }
    if (!S_ISREG(status.st_mode)) {
        source->m_pipe = std::exchange(source->m_file, OpenTemporaryFile());
    }
    source->Examine();
    if (!source->m_failure.empty()) {
        throw CXmlFailure("The file \"" + path + "\" cannot be read: " + source->m_failure + ".");
    }
    return source;
}

std::unique_ptr<CXmlSource> CXmlSource::FromText(std::string text) {
    std::unique_ptr<CXmlSource> source(new CXmlSource());
    source->m_text = std::move(text);
    source->m_ignoresDeclaration = true;
    source->m_isEmpty = source->m_text.empty();
    source->m_rawStart = source->m_text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    source->Rewind();
    return source;
}

void CXmlSource::Examine() {
    char head[XmlHeadSize];
    long size = 0;
    for (long count = 1; count > 0 && size < static_cast<long>(sizeof(head)); size += count) {
        count =
            ReadRaw(head + size, sizeof(head) - static_cast<std::size_t>(size)); // pipes trickle
        if (count < 0) {
            return;
        }
    }
    if (size > 0) {
        const SXmlEncoding encoding = DetectEncoding({head, static_cast<std::size_t>(size)});
        m_contradiction = encoding.contradiction;
        m_rawStart = encoding.markLength;
        m_ignoresDeclaration = m_rawStart > 0;
        const iconv_t handle =
            encoding.name.empty() ? iconv_t{} : iconv_open("UTF-8", encoding.name.c_str());
        // The parser has its own words for an encoding that nobody knows.
        if (!encoding.name.empty() && reinterpret_cast<std::intptr_t>(handle) != -1) {
            m_converter = std::make_unique<SConverter>(handle);
            m_ignoresDeclaration = true;
        }
    }
    m_isEmpty = size == 0;
    Rewind();
}

void CXmlSource::Rewind() noexcept {
    m_rawPosition = m_rawStart;
    m_chunkPosition = 0;
    m_chunkSize = 0;
    if (m_converter != nullptr) {
        iconv(m_converter->handle, nullptr, nullptr, nullptr, nullptr);
        m_converter->rawSize = 0;
        m_converter->atEnd = false;
    }
}

/// Makes the next bytes stand in the temporary file, unless the pipe has ended.
bool CXmlSource::SpoolFromPipe(std::size_t size) noexcept {
    char piece[std::size_t{16} * 1024];
    while (m_rawPosition >= m_spooled) {
        const ssize_t count = ::read(m_pipe, piece, std::min(size, sizeof(piece)));
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            m_failure = SystemReason(errno);
            return false;
        }
        for (ssize_t done = 0; done < count;) {
            const ssize_t written =
                ::pwrite(m_file, piece + done, static_cast<std::size_t>(count - done),
                         static_cast<off_t>(m_spooled));
            if (written < 0 && errno != EINTR) {
                m_failure = "its temporary copy cannot be written: " + SystemReason(errno);
                return false;
            }
            done += std::max<ssize_t>(written, 0);
            m_spooled += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        }
    }
    return true;
}

long CXmlSource::ReadRaw(char* buffer, std::size_t size) noexcept {
    if (m_file < 0) {
        const std::size_t count = std::min(size, m_text.size() - m_rawPosition);
        std::memcpy(buffer, m_text.data() + m_rawPosition, count);
        m_rawPosition += count;
        return static_cast<long>(count);
    }
    if (m_pipe >= 0 && !SpoolFromPipe(size)) {
        return -1;
    }
    for (;;) {
        const ssize_t count = ::pread(m_file, buffer, size, static_cast<off_t>(m_rawPosition));
        if (count >= 0) {
            m_rawPosition += static_cast<std::size_t>(count);
            return count;
        }
        if (errno != EINTR) {
            m_failure = SystemReason(errno);
            return -1;
        }
    }
}

bool CXmlSource::Fill() noexcept {
    m_chunkPosition = 0;
    m_chunkSize = 0;
    if (m_converter != nullptr) {
        return FillConverted();
    }
    const long count = ReadRaw(m_chunk.data(), m_chunk.size());
    m_chunkSize = count > 0 ? static_cast<std::size_t>(count) : 0;
    return count >= 0;
}

bool CXmlSource::FillConverted() noexcept {
    SConverter& converter = *m_converter;
    while (m_chunkSize == 0 && !(converter.atEnd && converter.rawSize == 0)) {
        if (!converter.atEnd) {
            const long count = ReadRaw(converter.raw.data() + converter.rawSize,
                                       converter.raw.size() - converter.rawSize);
            if (count < 0) {
                return false;
            }
            converter.atEnd = count == 0;
            converter.rawSize += static_cast<std::size_t>(count);
        }
        char* input = converter.raw.data();
        char* output = m_chunk.data();
        std::size_t inputLeft = converter.rawSize;
        std::size_t outputLeft = m_chunk.size() - 1;
        const std::size_t converted =
            iconv(converter.handle, &input, &inputLeft, &output, &outputLeft);
        const bool failed = converted == static_cast<std::size_t>(-1);
        const bool broken = failed && (errno == EILSEQ || (errno == EINVAL && converter.atEnd));
        if (broken && inputLeft > 0) {
            *output++ = '\xFF';
            ++input;
            --inputLeft;
        }
        std::memmove(converter.raw.data(), input, inputLeft);
        converter.rawSize = inputLeft;
        m_chunkSize = static_cast<std::size_t>(output - m_chunk.data());
    }
    return true;
}

int CXmlSource::Read(char* buffer, int size) noexcept {
    if (m_chunkPosition == m_chunkSize && !Fill()) {
        return -1;
    }
    const std::size_t count =
        std::min(static_cast<std::size_t>(std::max(size, 0)), m_chunkSize - m_chunkPosition);
    std::memcpy(buffer, m_chunk.data() + m_chunkPosition, count);
    m_chunkPosition += count;
    return static_cast<int>(count);
}

std::string CXmlSource::Declaration() {
    Rewind();
    char head[XmlHeadSize];
    const int size = Read(head, sizeof(head));
    Rewind();
    return std::string(XmlDeclarationIn({head, static_cast<std::size_t>(std::max(size, 0))}));
}

std::string ReadWholeFile(const std::string& path, std::size_t limit) {
    struct SFile {
        int handle;
        ~SFile() { ::close(handle); }
    } const file{OpenForReading(path, O_NONBLOCK)}; // a pipe without a writer is not waited for
    struct stat status = {};
    if (::fstat(file.handle, &status) == 0 && !S_ISREG(status.st_mode) &&
        !S_ISDIR(status.st_mode)) {
        throw CXmlFailure("\"" + path + "\" is a pipe or a device, not a file.");
    }
    return ReadAll(file.handle, path, limit);
}

} // namespace Nax::FrontEnd::XMLDB
