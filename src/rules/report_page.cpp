// SPDX-License-Identifier: Apache-2.0
#include "rules/report_page.h"

#include <algorithm>
#include <cstddef>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view kPlaceholderStart = "ReplacementHolder.";

// U+2028 and U+2029 in UTF-8, without the last byte: older scripts end a line there.
constexpr std::string_view kLineSeparatorStart = "\xE2\x80";
constexpr char kHexDigits[] = "0123456789ABCDEF";

char ToLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool EqualsIgnoringCase(char left, char right) {
    return ToLower(left) == ToLower(right);
}

bool ContinuesName(char character) {
    const char lower = ToLower(character);
    return (lower >= 'a' && lower <= 'z') || (character >= '0' && character <= '9') ||
           character == '_';
}

std::size_t FindPlaceholder(std::string_view text, std::string_view placeholder) {
    for (auto from = text.begin();;) {
        const auto found = std::search(from, text.end(), placeholder.begin(), placeholder.end(),
                                       EqualsIgnoringCase);
        if (found == text.end()) {
            return std::string_view::npos;
        }
        const auto behind = found + static_cast<std::ptrdiff_t>(placeholder.size());
        if (behind == text.end() || !ContinuesName(*behind)) {
            return static_cast<std::size_t>(found - text.begin());
        }
        from = found + 1;
    }
}

} // namespace

CReportPage::CReportPage(std::string templateText) {
    m_pieces.push_back({std::move(templateText), false});
}

bool CReportPage::Fill(std::string_view name, const std::string& value) {
    const std::string placeholder = std::string(kPlaceholderStart).append(name);
    std::vector<SPiece> pieces;
    bool filled = false;
    for (SPiece& piece : m_pieces) {
        std::string_view rest = piece.text;
        std::size_t at =
            piece.isValue ? std::string_view::npos : FindPlaceholder(rest, placeholder);
        if (at == std::string_view::npos) {
            pieces.push_back(std::move(piece));
            continue;
        }
        filled = true;
        for (; at != std::string_view::npos; at = FindPlaceholder(rest, placeholder)) {
            pieces.push_back({std::string(rest.substr(0, at)), false});
            pieces.push_back({value, true});
            rest.remove_prefix(at + placeholder.size());
        }
        pieces.push_back({std::string(rest), false});
    }
    m_pieces = std::move(pieces);
    return filled;
}

std::string CReportPage::Render() const {
    std::size_t size = 0;
    for (const SPiece& piece : m_pieces) {
        size += piece.text.size();
    }
    std::string page;
    page.reserve(size);
    for (const SPiece& piece : m_pieces) {
        page += piece.text;
    }
    return page;
}

std::string EscapeForScript(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 4);
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        const auto code = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            escaped += '\\';
            escaped += character;
        } else if (code < 0x20 || code == 0x7F || character == '<' || character == '>' ||
                   character == '&') {
            escaped.append("\\u00").append({kHexDigits[code >> 4U], kHexDigits[code & 0xFU]});
        } else if (text.substr(at, 2) == kLineSeparatorStart && at + 2 < text.size() &&
                   (text[at + 2] == '\xA8' || text[at + 2] == '\xA9')) {
            escaped += text[at + 2] == '\xA8' ? "\\u2028" : "\\u2029";
            at += 2;
        } else {
            escaped += character;
        }
    }
    return escaped;
}

} // namespace Nax::FrontEnd::XMLDB
