// SPDX-License-Identifier: Apache-2.0
#include "xml_fault_location.h"

#include <libxml/xmlerror.h>
#include <algorithm>
#include <array>
#include <numeric>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t SourceTextLimit = 500;
// Bytes kept on either side of a fault: the limit in characters of up to four bytes.
constexpr std::size_t Margin = SourceTextLimit * 4;
constexpr std::string_view Blanks = " \t\r\n";

bool BeginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

std::size_t CountCharacters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), BeginsCharacter));
}

/// Start of the character that lies `count` characters before `at`, at least `first`.
std::size_t StepBack(std::string_view text, std::size_t at, std::size_t first, std::size_t count) {
    while (count > 0 && at > first) {
        --at;
        while (at > first && !BeginsCharacter(text[at])) {
            --at;
        }
        --count;
    }
    return at;
}

std::size_t StepForward(std::string_view text, std::size_t at, std::size_t last,
                        std::size_t count) {
    while (count > 0 && at < last) {
        ++at;
        while (at < last && !BeginsCharacter(text[at])) {
            ++at;
        }
        --count;
    }
    return at;
}

/// The line around `at`, at most SourceTextLimit characters of it: half before, half behind, and
/// what one side does not need goes to the other.
std::string CutLine(std::string_view text, std::size_t at) {
    const std::size_t before = at == 0 ? text.npos : text.rfind('\n', at - 1);
    const std::size_t first = before == text.npos ? 0 : before + 1;
    std::size_t last = std::min(text.find('\n', at), text.size());
    if (last > first && text[last - 1] == '\r') {
        --last;
    }
    at = std::min(at, last);
    const std::size_t behind =
        CountCharacters(text.substr(at, StepForward(text, at, last, SourceTextLimit / 2) - at));
    const std::size_t start = StepBack(text, at, first, SourceTextLimit - behind);
    return std::string(text.substr(start, StepForward(text, start, last, SourceTextLimit) - start));
}

/// The source as a window that moves forward, with the line and column of its `m_mark`.
class CSweep {
public:
    explicit CSweep(CXmlSource& source) : m_source(source) { m_source.Rewind(); }

    void Place(SXmlFault& fault) {
        ReadTo(fault.offset + Margin);
        std::size_t at = std::min(fault.offset, m_base + m_window.size()) - m_base;
        // What is missing at the end is told where the text ends.
        if (m_atEnd && at == m_window.size()) {
            at = m_window.find_last_not_of(Blanks);
            at = at == m_window.npos ? 0 : at + 1;
            at = std::max(at, m_mark);
        }
        MoveMark(at);
        fault.line = m_line;
        fault.position = static_cast<long>(m_column) + 1;
        fault.sourceText = CutLine(m_window, at);
    }

private:
    void ReadTo(std::size_t offset) {
        std::array<char, std::size_t{64} * 1024> piece;
        while (!m_atEnd && m_base + m_window.size() < offset) {
            const int count = m_source.Read(piece.data(), static_cast<int>(piece.size()));
            if (count <= 0) {
                m_atEnd = true;
                return;
            }
            DropPassed(offset);
            m_window.append(piece.data(), static_cast<std::size_t>(count));
        }
    }

    /// Forgets what lies more than two margins before the fault that is looked for.
    void DropPassed(std::size_t offset) {
        const std::size_t needed = offset - std::min(offset, 3 * Margin);
        if (needed <= m_base) {
            return;
        }
        const std::size_t passed = std::min(needed - m_base, m_window.size());
        MoveMark(std::max(passed, m_mark));
        m_window.erase(0, passed);
        m_base += passed;
        m_mark -= passed;
    }

    void MoveMark(std::size_t to) {
        const std::string_view text = std::string_view(m_window).substr(0, to);
        for (std::size_t end = text.find('\n', m_mark); end != text.npos;
             end = text.find('\n', m_mark)) {
            ++m_line;
            m_column = 0;
            m_mark = end + 1;
        }
        if (to > m_mark) {
            m_column += CountCharacters(text.substr(m_mark, to - m_mark));
            m_mark = to;
        }
    }

    CXmlSource& m_source;
    std::string m_window;
    std::size_t m_base = 0; ///< offset of the window's first byte
    std::size_t m_mark = 0; ///< in the window; line and column belong to it
    long m_line = 1;
    std::size_t m_column = 0;
    bool m_atEnd = false;
};

} // namespace

SXmlFault ReadingFault(const CXmlSource& source) {
    return {.code = XML_IO_UNKNOWN, .reason = "The file cannot be read: " + source.Failure() + "."};
}

bool LocateFaults(CXmlSource& source, std::vector<SXmlFault>& faults) {
    std::vector<SXmlFault*> ordered;
    for (SXmlFault& fault : faults) {
        if (fault.offset != SXmlFault::NoOffset) {
            ordered.push_back(&fault);
        }
    }
    if (ordered.empty()) {
        return true;
    }
    std::stable_sort(
        ordered.begin(), ordered.end(),
        [](const SXmlFault* left, const SXmlFault* right) { return left->offset < right->offset; });
    CSweep sweep(source);
    for (SXmlFault* fault : ordered) {
        sweep.Place(*fault);
    }
    if (!source.Failure().empty()) {
        faults.assign(1, ReadingFault(source));
        return false;
    }
    return true;
}

std::size_t FindAttributeInTag(std::string_view tag, std::string_view name) {
    std::size_t at = tag.find_first_of(Blanks);
    while (at != tag.npos) {
        const std::size_t first = tag.find_first_not_of(Blanks, at);
        const std::size_t equals = first == tag.npos ? tag.npos : tag.find('=', first);
        const std::size_t quote = equals == tag.npos ? tag.npos : tag.find_first_of("\"'", equals);
        if (quote == tag.npos) {
            return tag.npos;
        }
        const std::string_view found = tag.substr(first, equals - first);
        if (found.substr(0, found.find_first_of(Blanks)) == name) {
            return first;
        }
        const std::size_t end = tag.find(tag[quote], quote + 1);
        at = end == tag.npos ? tag.npos : end + 1;
    }
    return tag.npos;
}

} // namespace Nax::FrontEnd::XMLDB
