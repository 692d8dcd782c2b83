// SPDX-License-Identifier: Apache-2.0
#include "xml_limit_scanner.h"

#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t RememberedBytes = 3;

/// "10000000" as "10,000,000".
std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, 1, ',');
    }
    return text;
}

void Remember(std::string& last, std::string_view bytes) {
    last.append(bytes.substr(bytes.size() - std::min(bytes.size(), RememberedBytes)));
    last.erase(0, last.size() - std::min(last.size(), RememberedBytes));
}

} // namespace

std::string CXmlLimitScanner::Describe(const char* what, std::uint64_t limit,
                                       const char* name) const {
    std::string text = "The document has more than " + Grouped(limit) + " " + what +
                       ", which is the limit \"" + name + "\".";
    std::string advice = m_limits.advice;
    if (const std::size_t at = advice.find("%s"); at != advice.npos) {
        text += " " + advice.replace(at, 2, name);
    }
    return text;
}

void CXmlLimitScanner::Exceed(const char* what, std::uint64_t limit, const char* name) {
    if (!IsExceeded()) {
        m_reason = Describe(what, limit, name);
    }
}

std::size_t CXmlLimitScanner::Grow(std::uint64_t& size, std::size_t count, std::uint64_t limit,
                                   const char* what, const char* name) {
    const std::uint64_t left = limit - std::min(limit, size);
    if (count > left) {
        Exceed(what, limit, name);
        count = static_cast<std::size_t>(left);
    }
    size += count;
    return count;
}

std::size_t CXmlLimitScanner::Scan(std::string_view bytes) {
    const std::uint64_t left =
        m_limits.fileSize - std::min<std::uint64_t>(m_limits.fileSize, m_offset);
    const auto allowed = static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size()));
    std::size_t done = 0;
    while (done < allowed && !IsExceeded()) {
        const std::size_t count = Step(bytes.substr(done, allowed - done));
        done += count;
        m_offset += count;
    }
    if (allowed < bytes.size() && !IsExceeded()) {
        m_partStart = m_offset;
        Exceed("bytes", m_limits.fileSize, "file-size");
    }
    return done;
}

std::size_t CXmlLimitScanner::Step(std::string_view bytes) {
    switch (m_state) {
        case State::Text:
            return ScanText(bytes);
        case State::Open:
            return ScanOpen(bytes);
        case State::Bang:
            return ScanBang(bytes);
        case State::Tag:
            return ScanTag(bytes);
        case State::Value:
            return ScanValue(bytes);
        case State::EndTag:
            return ScanEndTag(bytes);
        case State::Comment:
            return ScanPiece(bytes, "-->");
        case State::Cdata:
            return ScanPiece(bytes, "]]>");
        case State::Instruction:
            return ScanPiece(bytes, "?>");
        case State::Doctype:
            return ScanDoctype(bytes);
    }
    return bytes.size();
}

/// `before` bytes of the part have been read already.
void CXmlLimitScanner::Begin(State state, std::size_t before) {
    m_state = state;
    m_partStart = m_offset - before;
    m_pieceSize = 0;
    m_last.clear();
}

std::size_t CXmlLimitScanner::ScanText(std::string_view bytes) {
    if (m_textSize == 0) {
        m_partStart = m_offset;
    }
    const std::size_t end = std::min(bytes.find('<'), bytes.size());
    const std::size_t count =
        Grow(m_textSize, end, m_limits.textSize, "bytes of text between two tags", "text-size");
    if (IsExceeded() || end == bytes.size()) {
        return count;
    }
    m_state = State::Open;
    return count + 1;
}

std::size_t CXmlLimitScanner::ScanOpen(std::string_view bytes) {
    const char first = bytes.front();
    if (first == '!' || first == '?') {
        Begin(first == '!' ? State::Bang : State::Instruction, 1);
        return 1;
    }
    m_textSize = 0;
    if (first == '/') {
        Begin(State::EndTag, 1);
        m_tagSize = 0;
        return 1;
    }
    Begin(State::Tag, 1);
    m_tagSize = 0;
    m_attributes = 0;
    m_isEmptyTag = false;
    if (++m_depth > m_limits.depth) {
        Exceed("elements inside one another", m_limits.depth, "depth");
        return 0;
    }
    return ScanTag(bytes);
}

std::size_t CXmlLimitScanner::ScanBang(std::string_view bytes) {
    constexpr std::string_view comment = "--";
    constexpr std::string_view cdata = "[CDATA[";
    m_pieceSize += 1;
    const std::size_t start = m_partStart;
    if (m_pieceSize == 1 && bytes.front() != '-' && bytes.front() != '[') {
        Begin(State::Doctype, 0);
        m_partStart = start;
        m_doctype = Doctype::Declarations;
        m_inSubset = false;
        return 0;
    }
    const bool isComment = m_last == "-" || (m_last.empty() && bytes.front() == '-');
    Remember(m_last, bytes.substr(0, 1));
    if (m_pieceSize == (isComment ? comment.size() : cdata.size())) {
        Begin(isComment ? State::Comment : State::Cdata, 0);
        m_partStart = start;
    }
    return 1;
}

std::size_t CXmlLimitScanner::ScanTag(std::string_view bytes) {
    const std::size_t window = static_cast<std::size_t>(std::min<std::uint64_t>(
        bytes.size(), m_limits.tagSize - std::min(m_limits.tagSize, m_tagSize)));
    std::size_t at = 0;
    for (; at < window && m_state == State::Tag; ++at) {
        const char byte = bytes[at];
        if (byte == '"' || byte == '\'') {
            m_quote = byte;
            m_state = State::Value;
        } else if (byte == '=' && ++m_attributes > m_limits.attributes) {
            Exceed("attributes in one element", m_limits.attributes, "attributes");
            break;
        } else if (byte == '>') {
            m_depth -= m_isEmptyTag ? 1 : 0;
            m_state = State::Text;
        }
        m_isEmptyTag = byte == '/';
    }
    m_tagSize += at;
    if (at == window && window < bytes.size() && m_state == State::Tag) {
        Exceed("bytes in one start tag", m_limits.tagSize, "tag-size");
    }
    return at;
}

std::size_t CXmlLimitScanner::ScanValue(std::string_view bytes) {
    const std::size_t end = bytes.find(m_quote);
    const std::size_t count = Grow(m_tagSize, end == bytes.npos ? bytes.size() : end + 1,
                                   m_limits.tagSize, "bytes in one start tag", "tag-size");
    if (end != bytes.npos && !IsExceeded()) {
        m_state = State::Tag;
    }
    return count;
}

std::size_t CXmlLimitScanner::ScanEndTag(std::string_view bytes) {
    const std::size_t end = bytes.find('>');
    const std::size_t count = Grow(m_tagSize, end == bytes.npos ? bytes.size() : end + 1,
                                   m_limits.tagSize, "bytes in one end tag", "tag-size");
    if (end != bytes.npos && !IsExceeded()) {
        m_depth -= m_depth > 0 ? 1 : 0;
        m_state = State::Text;
    }
    return count;
}

std::size_t CXmlLimitScanner::ScanPiece(std::string_view bytes, std::string_view end) {
    const std::size_t found = std::min(bytes.find('>'), bytes.size() - 1) + 1;
    // Character data in sections is text like any other.
    std::uint64_t& size = m_state == State::Cdata ? m_textSize : m_pieceSize;
    const char* what = m_state == State::Cdata     ? "bytes of text between two tags"
                       : m_state == State::Comment ? "bytes in one comment"
                                                   : "bytes in one processing instruction";
    const std::size_t count = Grow(size, found, m_limits.textSize, what, "text-size");
    if (IsExceeded()) {
        return count;
    }
    Remember(m_last, bytes.substr(0, count));
    if (m_last.ends_with(end)) {
        m_state = State::Text;
    }
    return count;
}

std::size_t CXmlLimitScanner::ScanDoctype(std::string_view bytes) {
    const std::size_t window = static_cast<std::size_t>(std::min<std::uint64_t>(
        bytes.size(), m_limits.doctypeSize - std::min(m_limits.doctypeSize, m_pieceSize)));
    std::size_t at = 0;
    while (at < window && m_state == State::Doctype) {
        StepDoctype(bytes[at++]);
    }
    m_pieceSize += at;
    if (at == window && window < bytes.size() && m_state == State::Doctype) {
        Exceed("bytes in its document type declaration", m_limits.doctypeSize, "doctype-size");
    }
    return at;
}

void CXmlLimitScanner::StepDoctype(char byte) {
    Remember(m_last, {&byte, 1});
    switch (m_doctype) {
        case Doctype::Literal:
            m_doctype = byte == m_quote ? Doctype::Declarations : m_doctype;
            return;
        case Doctype::Comment:
            m_doctype = m_last == "-->" ? Doctype::Declarations : m_doctype;
            return;
        case Doctype::Instruction:
            m_doctype = m_last.ends_with("?>") ? Doctype::Declarations : m_doctype;
            return;
        case Doctype::Declarations:
            break;
    }
    if (byte == '"' || byte == '\'') {
        m_quote = byte;
        m_doctype = Doctype::Literal;
    } else if (byte == '[' || byte == ']') {
        m_inSubset = byte == '[';
    } else if (byte == '>' && !m_inSubset) {
        m_state = State::Text;
    } else if (m_inSubset && m_last == "!--") {
        m_doctype = Doctype::Comment;
        m_last.clear();
    } else if (m_inSubset && m_last.ends_with("<?")) {
        m_doctype = Doctype::Instruction;
        m_last.clear();
    }
}

} // namespace Nax::FrontEnd::XMLDB
