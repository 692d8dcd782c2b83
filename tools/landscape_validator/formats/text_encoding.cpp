// SPDX-License-Identifier: Apache-2.0
#include "formats/text_encoding.h"

#include <naxfewxmldb/text_processor.h>

#include <fmt/format.h>

#include <iterator>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::TextProcessor;

namespace {

unsigned ByteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

/// True for the characters that neither JSON nor XML has to escape anywhere. Of "##" and "::" the
/// second character is escaped: build servers look for commands in what programs print.
bool IsPlain(unsigned byte) {
    return byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\' && byte != '&' &&
           byte != '<' && byte != '>' && byte != '#' && byte != ':';
}

/// True when `character` would be the second of such a pair.
bool Doubles(const std::string& out, char32_t character) {
    return (character == '#' || character == ':') && !out.empty() &&
           out.back() == static_cast<char>(character);
}

/// Hands runs of plain characters to `out` at once and every other character to `escape`.
template <class Escape>
void AppendEscaped(std::string& out, std::string_view text, Escape&& escape) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        while (at < text.size() && IsPlain(ByteAt(text, at))) {
            ++at;
        }
        out.append(text, begin, at - begin);
        if (at < text.size()) {
            escape(DecodeUtf8(text, at));
        }
    }
}

/// A character beyond U+FFFF is two references, as UTF-16 has it.
void AppendJsonReference(std::string& out, char32_t character) {
    unsigned unit = character;
    if (character > 0xFFFF) {
        const unsigned beyond = character - 0x10000U;
        fmt::format_to(std::back_inserter(out), "\\u{:04x}", 0xD800U + (beyond >> 10U));
        unit = 0xDC00U + (beyond & 0x3FFU);
    }
    fmt::format_to(std::back_inserter(out), "\\u{:04x}", unit);
}

bool IsUnreserved(unsigned byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

std::string PercentEncoded(std::string_view text, std::string_view kept) {
    std::string encoded;
    encoded.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (IsUnreserved(byte) || kept.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            fmt::format_to(std::back_inserter(encoded), "%{:02X}", byte);
        }
    }
    return encoded;
}

} // namespace

char32_t DecodeUtf8(std::string_view text, std::size_t& at) {
    const unsigned first = ByteAt(text, at++);
    if (first < 0x80) {
        return first;
    }
    const std::size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || text.size() - at < more) {
        return kReplacementCharacter;
    }
    char32_t character = first & (0x3FU >> more);
    for (std::size_t place = 0; place < more; ++place) {
        const unsigned byte = ByteAt(text, at + place);
        if ((byte & 0xC0U) != 0x80U) {
            return kReplacementCharacter;
        }
        character = (character << 6U) | (byte & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    if (character < kSmallest[more] || character > 0x10FFFF || surrogate) {
        return kReplacementCharacter;
    }
    at += more;
    return character;
}

void AppendUtf8(std::string& out, char32_t character) {
    const auto append = [&out](char32_t byte) { out += static_cast<char>(byte); };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0U | (character >> 6U));
    } else {
        if (character < 0x10000) {
            append(0xE0U | (character >> 12U));
        } else {
            append(0xF0U | (character >> 18U));
            append(0x80U | ((character >> 12U) & 0x3FU));
        }
        append(0x80U | ((character >> 6U) & 0x3FU));
    }
    append(0x80U | (character & 0x3FU));
}

std::string ValidUtf8(std::string_view text) {
    std::string valid;
    valid.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        AppendUtf8(valid, DecodeUtf8(text, at));
    }
    return valid;
}

void AppendJsonEscaped(std::string& out, std::string_view text) {
    AppendEscaped(out, text, [&out](char32_t character) {
        if (character == '"' || character == '\\') {
            out += '\\';
            out += static_cast<char>(character);
        } else if (character == '\n') {
            out += "\\n";
        } else if (character == '\t') {
            out += "\\t";
        } else if (TextProcessor::IsControl(character) || Doubles(out, character)) {
            AppendJsonReference(out, character);
        } else {
            AppendUtf8(out, character);
        }
    });
}

void AppendXmlEscaped(std::string& out, std::string_view text, bool attribute) {
    AppendEscaped(out, text, [&out, attribute](char32_t character) {
        const bool space = character == '\n' || character == '\t' || character == '\r';
        if (character == '&') {
            out += "&amp;";
        } else if (character == '<') {
            out += "&lt;";
        } else if (character == '>') {
            out += "&gt;";
        } else if (character == '"') {
            out += "&quot;";
        } else if ((character < 0x20 && !space) || character == 0xFFFE || character == 0xFFFF) {
            AppendUtf8(out, kReplacementCharacter);
        } else if (Doubles(out, character) || (TextProcessor::IsControl(character) &&
                                               (attribute || character == '\r' || !space))) {
            fmt::format_to(std::back_inserter(out), "&#{};", static_cast<unsigned>(character));
        } else {
            AppendUtf8(out, character);
        }
    });
}

std::string PercentEncodedPath(std::string_view path) {
    return PercentEncoded(path, "/");
}

std::string PercentEncodedUrl(std::string_view url) {
    return PercentEncoded(url, ":/?#[]@!$&'()*+,;=%");
}

} // namespace LandscapeValidator
