// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// The path that a narrow path or file: URL names; throws CXmlFailure for another scheme's URL and
/// for a file: URL of another host.
std::string LocalPathOf(std::string_view pathOrUrl);
/// The file: URL of a path (made absolute), reserved characters escaped.
std::string FileUrlOf(const std::string& path);

/// One XML text as a stream of UTF-8 bytes without a byte-order mark, as often as wanted.
///
/// Files are read in large pieces by position and never as a whole; what is no regular file (a
/// pipe) goes into a temporary file as far as it is read. Texts in another encoding than UTF-8 are
/// converted on the way, so that every offset in the stream means the same thing to the parser and
/// to whoever looks for the line at a fault. Bytes that the encoding does not allow come out as
/// 0xFF, which no parser takes for a character. One thread at a time.
class CXmlSource {
public:
    /// Throws CXmlFailure with the system's reason when the file cannot be opened or read.
    static std::unique_ptr<CXmlSource> FromFile(const std::string& path);
    /// `text` is UTF-8 whatever its XML declaration says.
    static std::unique_ptr<CXmlSource> FromText(std::string text);

    CXmlSource(const CXmlSource&) = delete;
    CXmlSource& operator=(const CXmlSource&) = delete;
    ~CXmlSource();

    /// Up to `size` next bytes; 0 at the end, -1 when reading fails (then see Failure).
    int Read(char* buffer, int size) noexcept;
    void Rewind() noexcept;

    /// True when the stream's encoding is known not to be the declared one.
    bool IgnoresDeclaration() const noexcept { return m_ignoresDeclaration; }
    /// Why the declared encoding cannot be the text's, empty when it can.
    const std::string& Contradiction() const noexcept { return m_contradiction; }
    bool IsEmpty() const noexcept { return m_isEmpty; }
    /// The system's reason of a failed Read, empty when there was none.
    const std::string& Failure() const noexcept { return m_failure; }
    /// Data of the XML declaration, such as `version="1.0"`; empty when there is none.
    std::string Declaration();

private:
    struct SConverter;
    CXmlSource();
    void Examine();
    void Start(std::string_view head);
    long ReadRaw(char* buffer, std::size_t size) noexcept;
    bool SpoolFromPipe(std::size_t size) noexcept;
    bool Fill() noexcept;
    bool FillConverted() noexcept;

    int m_file = -1;
    int m_pipe = -1; ///< what m_file is filled from, when that is a temporary file
    std::size_t m_spooled = 0;
    std::string m_text; ///< the raw bytes when there is no file
    std::size_t m_rawPosition = 0;
    std::size_t m_rawStart = 0; ///< length of the byte-order mark
    std::vector<char> m_chunk;
    std::size_t m_chunkPosition = 0;
    std::size_t m_chunkSize = 0;
    std::unique_ptr<SConverter> m_converter;
    bool m_ignoresDeclaration = false;
    bool m_isEmpty = false;
    std::string m_contradiction;
    std::string m_failure;
};

/// The bytes of a whole file as they are; throws CXmlFailure, also for more than `limit` bytes and
/// for what is no regular file.
std::string ReadWholeFile(const std::string& path, std::size_t limit);

} // namespace Nax::FrontEnd::XMLDB
