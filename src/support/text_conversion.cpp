// SPDX-License-Identifier: Apache-2.0
// One pass in blocks of fixed size: a block is filled on the stack and appended at once, so neither
// direction measures the text first nor reserves for the worst case. Runs of ASCII, which nearly
// all of the text is, take a tight loop of their own.
#include "support/text_conversion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::size_t kBlock = 4096;

constexpr bool IsSurrogate(char32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

/// Reads one code point at `position` and moves past it.
template <class Wide>
char32_t TakeWide(std::basic_string_view<Wide> wide, std::size_t& position) noexcept {
    const auto code = static_cast<char32_t>(wide[position++]);
    if constexpr (sizeof(Wide) == 2) {
        if (code >= 0xD800 && code <= 0xDBFF && position < wide.size()) {
            const auto low = static_cast<char32_t>(wide[position]);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                ++position;
                return 0x10000 + ((code - 0xD800) << 10U) + (low - 0xDC00);
            }
        }
    }
    return IsSurrogate(code) || code > 0x10FFFF ? kReplacement : code;
}

/// Writes up to four bytes and returns the position behind them.
char* PutUtf8(char* out, char32_t code) noexcept {
    if (code < 0x80) {
        *out++ = static_cast<char>(code);
        return out;
    }
    if (code < 0x800) {
        *out++ = static_cast<char>(0xC0U | (code >> 6U));
    } else {
        if (code < 0x10000) {
            *out++ = static_cast<char>(0xE0U | (code >> 12U));
        } else {
            *out++ = static_cast<char>(0xF0U | (code >> 18U));
            *out++ = static_cast<char>(0x80U | ((code >> 12U) & 0x3FU));
        }
        *out++ = static_cast<char>(0x80U | ((code >> 6U) & 0x3FU));
    }
    *out++ = static_cast<char>(0x80U | (code & 0x3FU));
    return out;
}

template <class Wide>
void AppendUtf8Of(std::string& text, std::basic_string_view<Wide> wide) {
    std::array<char, kBlock> block;
    std::size_t position = 0;
    while (position < wide.size()) {
        char* out = block.data();
        const char* const full = block.data() + kBlock - 4;
        while (position < wide.size() && out <= full) {
            if (static_cast<char32_t>(wide[position]) < 0x80) {
                *out++ = static_cast<char>(wide[position++]);
            } else {
                out = PutUtf8(out, TakeWide(wide, position));
            }
        }
        text.append(block.data(), static_cast<std::size_t>(out - block.data()));
    }
}

struct SLead {
    unsigned int length;   // of the whole sequence, 0 for a byte that starts none
    unsigned char lowest;  // bounds of the second byte: they exclude overlong forms, surrogates
    unsigned char highest; // and what lies beyond U+10FFFF
};

SLead ClassifyLead(unsigned char byte) noexcept {
    if (byte < 0xC2 || byte > 0xF4) {
        return {0, 0, 0};
    }
    if (byte < 0xE0) {
        return {2, 0x80, 0xBF};
    }
    if (byte < 0xF0) {
        return {3, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    }
    return {4, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
}

/// Reads one sequence that begins with a byte beyond ASCII and moves past its valid part.
char32_t TakeUtf8(std::string_view text, std::size_t& position) noexcept {
    const auto first = static_cast<unsigned char>(text[position++]);
    SLead lead = ClassifyLead(first);
    if (lead.length == 0) {
        return kReplacement;
    }
    char32_t code = first & (0x7FU >> lead.length);
    for (unsigned int i = 1; i < lead.length; ++i) {
        if (position == text.size()) {
            return kReplacement;
        }
        const auto byte = static_cast<unsigned char>(text[position]);
        if (byte < lead.lowest || byte > lead.highest) {
            return kReplacement;
        }
        ++position;
        code = (code << 6U) | (byte & 0x3FU);
        lead.lowest = 0x80;
        lead.highest = 0xBF;
    }
    return code;
}

/// Length of the run of ASCII at `position`, at most `limit`.
std::size_t AsciiRun(std::string_view text, std::size_t position, std::size_t limit) noexcept {
    const std::size_t end = position + std::min(limit, text.size() - position);
    std::size_t at = position;
    for (std::uint64_t word = 0; end - at >= sizeof(word); at += sizeof(word)) {
        std::memcpy(&word, text.data() + at, sizeof(word));
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
    }
    while (at < end && static_cast<unsigned char>(text[at]) < 0x80) {
        ++at;
    }
    return at - position;
}

template <class Wide>
Wide* PutWide(Wide* out, char32_t code) noexcept {
    if constexpr (sizeof(Wide) == 2) {
        if (code >= 0x10000) {
            *out++ = static_cast<Wide>(0xD800 + ((code - 0x10000) >> 10U));
            code = 0xDC00 + ((code - 0x10000) & 0x3FFU);
        }
    }
    *out++ = static_cast<Wide>(code);
    return out;
}

template <class Wide>
void AppendWideOf(std::basic_string<Wide>& wide, std::string_view text) {
    std::array<Wide, kBlock> block;
    std::size_t position = 0;
    while (position < text.size()) {
        Wide* out = block.data();
        const Wide* const end = block.data() + kBlock;
        while (position < text.size() && end - out >= 2) {
            const std::size_t run = AsciiRun(text, position, static_cast<std::size_t>(end - out));
            for (std::size_t i = 0; i < run; ++i) {
                out[i] = static_cast<Wide>(static_cast<unsigned char>(text[position + i]));
            }
            out += run;
            position += run;
            if (position < text.size() && end - out >= 2 &&
                static_cast<unsigned char>(text[position]) >= 0x80) {
                out = PutWide(out, TakeUtf8(text, position));
            }
        }
        wide.append(block.data(), static_cast<std::size_t>(out - block.data()));
    }
}

} // namespace

void AppendUtf8(std::string& text, std::wstring_view wide) {
    AppendUtf8Of(text, wide);
}

void AppendUtf8(std::string& text, std::u16string_view wide) {
    AppendUtf8Of(text, wide);
}

void AppendWide(std::wstring& wide, std::string_view text) {
    AppendWideOf(wide, text);
}

void AppendWide(std::u16string& wide, std::string_view text) {
    AppendWideOf(wide, text);
}

std::string ToUtf8(std::wstring_view wide) {
    std::string text;
    text.reserve(wide.size());
    AppendUtf8(text, wide);
    return text;
}

std::wstring ToWide(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    AppendWide(wide, text);
    return wide;
}

} // namespace Nax::FrontEnd::XMLDB
