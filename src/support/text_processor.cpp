// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/text_processor.h>

#include "support/text_conversion.h"

#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

std::string ReplaceOne(std::string text, const std::string& search,
                       const std::string& replacement) {
    std::size_t at = search.empty() ? std::string::npos : text.find(search);
    if (at == std::string::npos) {
        return text;
    }
    // Built aside: replacing in place moves the tail once per occurrence.
    std::string result;
    result.reserve(text.size());
    std::size_t from = 0;
    for (; at != std::string::npos; at = text.find(search, from)) {
        result.append(text, from, at - from).append(replacement);
        from = at + search.size();
    }
    return result.append(text, from);
}

} // namespace

TextProcessor::TextProcessor()
    : m_whitespace{"\n", "\t", "\r"}, m_xmlEscapes{{"<", "&lt;"},    {">", "&gt;"},
                                                   {"&", "&amp;"},   {"'", "&apos;"},
                                                   {"\"", "&quot;"}, {"\n", "&#x0A;"},
                                                   {"\r", "&#x0D;"}, {"\t", "&#x09;"}} {}

std::vector<std::string> TextProcessor::Split(std::string_view text, char separator) const {
    std::vector<std::string> pieces;
    for (;;) {
        const std::size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::string TextProcessor::ReplaceAll(std::string text, const Replacements& replacements) const {
    for (const auto& [search, replacement] : replacements) {
        text = ReplaceOne(std::move(text), search, replacement);
    }
    return text;
}

std::string TextProcessor::ReplaceAll(std::string text, const std::vector<std::string>& searches,
                                      const std::vector<std::string>& replacements) const {
    const std::size_t count = std::min(searches.size(), replacements.size());
    for (std::size_t pair = 0; pair < count; ++pair) {
        text = ReplaceOne(std::move(text), searches[pair], replacements[pair]);
    }
    return text;
}

std::string TextProcessor::EscapeSql(std::string text) const {
    return ReplaceAll(std::move(text), {"'"}, {"''"});
}

std::string TextProcessor::EscapeXml(std::string_view text) const {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
        const auto escape =
            std::find_if(m_xmlEscapes.begin(), m_xmlEscapes.end(),
                         [character](const auto& pair) { return pair.first[0] == character; });
        if (escape == m_xmlEscapes.end()) {
            escaped += character;
        } else {
            escaped += escape->second;
        }
    }
    return escaped;
}

bool TextProcessor::IsControl(char32_t character) {
    const auto within = [character](char32_t first, char32_t last) {
        return first <= character && character <= last;
    };
    return character < 0x20 || within(0x7F, 0x9F) || character == 0xAD || character == 0x061C ||
           character == 0x180E || character == 0x200B || within(0x200E, 0x200F) ||
           within(0x2028, 0x202E) || within(0x2060, 0x206F) || character == 0xFEFF ||
           within(0xFFF9, 0xFFFB) || within(0xE0000, 0xE007F);
}

std::string TextProcessor::ReplaceControls(std::string_view text, std::string_view kept) {
    std::wstring wide = ToWide(text);
    for (wchar_t& character : wide) {
        const auto code = static_cast<char32_t>(character);
        const bool keeps = code < 0x80 && kept.find(static_cast<char>(code)) != kept.npos;
        if (IsControl(code) && !keeps) {
            character = L'?';
        }
    }
    return ToUtf8(wide);
}

bool TextProcessor::IsBlank(char character) const {
    return character == ' ' ||
           std::any_of(m_whitespace.begin(), m_whitespace.end(),
                       [character](const std::string& blank) { return blank[0] == character; });
}

std::string_view TextProcessor::TrimLeft(std::string_view text) const {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

std::string_view TextProcessor::TrimRight(std::string_view text) const {
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace Nax::FrontEnd::XMLDB
