// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Nax::FrontEnd::XMLDB {

/// Reads the rest of a character whose first byte `lead`, 0x80 or above, has been read. Overlong
/// forms, surrogates, values above U+10FFFF and broken or cut sequences give U+FFFD and leave
/// `position` after the first byte, so that the reader is in step again at the next good one.
std::uint32_t ReadMultibyteCharacter(std::uint32_t lead, const unsigned char*& position,
                                     const unsigned char* end);

constexpr std::uint32_t FoldCharacter(std::uint32_t c) {
    return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
}

/// Reads the UTF-8 character at `position`, which is before `end`, and moves on. A NUL character is
/// a character like any other: only `end` ends the text. The folding is a template parameter to
/// spare the matcher's loop a call for every character.
template <bool FoldCase>
std::uint32_t ReadCharacter(const unsigned char*& position, const unsigned char* end) {
    const std::uint32_t lead = *position++;
    if (lead >= 0x80) {
        return ReadMultibyteCharacter(lead, position, end);
    }
    if constexpr (FoldCase) {
        return FoldCharacter(lead);
    } else {
        return lead;
    }
}

} // namespace Nax::FrontEnd::XMLDB
