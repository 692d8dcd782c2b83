// SPDX-License-Identifier: Apache-2.0
#include "regexp_reader.h"

#include <cstddef>

#include "regexp_opcodes.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

struct SSequence {
    std::ptrdiff_t continuationBytes;
    std::uint32_t leadBits;
    std::uint32_t least;
    std::uint32_t greatest;
};

SSequence SequenceOf(std::uint32_t lead) {
    if ((lead & 0xE0) == 0xC0) {
        return {1, lead & 0x1F, 0x80, 0x7FF};
    }
    if ((lead & 0xF0) == 0xE0) {
        return {2, lead & 0x0F, 0x800, 0xFFFF};
    }
    if ((lead & 0xF8) == 0xF0) {
        return {3, lead & 0x07, 0x10000, 0x10FFFF};
    }
    return {0, 0, 1, 0};
}

} // namespace

std::uint32_t ReadMultibyteCharacter(std::uint32_t lead, const unsigned char*& position,
                                     const unsigned char* end) {
    const SSequence sequence = SequenceOf(lead);
    if (end - position < sequence.continuationBytes) {
        return REPLACEMENT_CHARACTER;
    }
    std::uint32_t c = sequence.leadBits;
    for (std::ptrdiff_t i = 0; i < sequence.continuationBytes; ++i) {
        if ((position[i] & 0xC0) != 0x80) {
            return REPLACEMENT_CHARACTER;
        }
        c = (c << 6) | (position[i] & 0x3FU);
    }
    const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
    if (c < sequence.least || c > sequence.greatest || surrogate) {
        return REPLACEMENT_CHARACTER;
    }
    position += sequence.continuationBytes;
    return c;
}

} // namespace Nax::FrontEnd::XMLDB
