// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/xml_limits.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// Measures a document's parts while its bytes go to the parser, and stops them where one outgrows
/// its limit: the parser collects a whole start tag or comment before anybody hears of it, and
/// compares every attribute with every other.
///
/// It knows just enough of the syntax to see where parts begin and end in a well-formed document;
/// at the first fault of another one the parser stops by itself. One document, one thread. Does not
/// throw, except for want of memory when a limit is exceeded.
class CXmlLimitScanner {
public:
    explicit CXmlLimitScanner(const SXmlLimits& limits) : m_limits(limits) {}

    /// Takes the next bytes of the document; how many of them are within the limits. Once that are
    /// fewer than all, no more bytes may follow.
    std::size_t Scan(std::string_view bytes);

    bool IsExceeded() const noexcept { return !m_reason.empty(); }
    /// A sentence on the limit, and where the part begins that exceeds it.
    const std::string& Reason() const noexcept { return m_reason; }
    std::size_t Offset() const noexcept { return m_partStart; }

    const SXmlLimits& Limits() const noexcept { return m_limits; }
    /// "More than 5 elements are inside one another, which is the limit. ..."
    std::string Describe(const char* what, std::uint64_t limit, const char* name) const;

private:
    enum class State { Text, Open, Bang, Tag, Value, EndTag, Comment, Cdata, Instruction, Doctype };
    enum class Doctype { Declarations, Literal, Comment, Instruction };

    std::size_t Step(std::string_view bytes);
    std::size_t ScanText(std::string_view bytes);
    std::size_t ScanOpen(std::string_view bytes);
    std::size_t ScanBang(std::string_view bytes);
    std::size_t ScanTag(std::string_view bytes);
    std::size_t ScanValue(std::string_view bytes);
    std::size_t ScanEndTag(std::string_view bytes);
    std::size_t ScanPiece(std::string_view bytes, std::string_view end);
    std::size_t ScanDoctype(std::string_view bytes);
    void StepDoctype(char byte);
    void Begin(State state, std::size_t before);
    void Exceed(const char* what, std::uint64_t limit, const char* name);
    /// `count` more bytes of the part; how many of them are allowed.
    std::size_t Grow(std::uint64_t& size, std::size_t count, std::uint64_t limit, const char* what,
                     const char* name);

    const SXmlLimits m_limits;
    State m_state = State::Text;
    std::size_t m_offset = 0;    ///< of the next byte
    std::size_t m_partStart = 0; ///< of the part that m_state is in
    std::uint64_t m_depth = 0;
    std::uint64_t m_attributes = 0;
    std::uint64_t m_tagSize = 0;
    std::uint64_t m_textSize = 0;  ///< since the latest tag
    std::uint64_t m_pieceSize = 0; ///< of a comment and the like
    std::string m_last;            ///< the latest bytes of a piece, at most three
    char m_quote = 0;
    bool m_isEmptyTag = false;
    Doctype m_doctype = Doctype::Declarations;
    bool m_inSubset = false;
    std::string m_reason;
};

} // namespace Nax::FrontEnd::XMLDB
