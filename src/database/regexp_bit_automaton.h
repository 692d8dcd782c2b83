// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "regexp_memory.h"

namespace Nax::FrontEnd::XMLDB {

struct SRegexpProgram;

/// The same automaton as the program's, for programs with at most 64 instructions that read a
/// character ("positions") and none that asks for a word boundary: a set of states is one machine
/// word, and a step costs an AND and a shift for all positions that are only followed by their
/// neighbour. Patterns such as UUIDs and host names thus cost about a nanosecond a character, where
/// lists of states cost one for every state.
///
/// Constant once built. SRegexpProgram owns it.
struct SRegexpBitAutomaton {
    static constexpr std::uint32_t MAX_POSITIONS = 64;
    /// Bounds the work of following jumps between positions.
    static constexpr std::uint32_t MAX_INSTRUCTIONS = 512;

    /// For each ASCII character the positions that take it.
    std::array<std::uint64_t, 128> takers{};
    /// For each position the positions that may read the next character.
    std::array<std::uint64_t, MAX_POSITIONS> followers{};
    std::array<std::uint32_t, MAX_POSITIONS> instructions{};
    std::uint32_t positionCount = 0;

    std::uint64_t shiftable = 0;    ///< positions that only their neighbour follows
    std::uint64_t accepting = 0;    ///< positions after which the pattern is matched
    std::uint64_t acceptingEnd = 0; ///< the same when the subject ends after them
    std::uint64_t initial = 0;      ///< positions that may read the first character
    std::uint64_t always = 0;       ///< positions that may read any character: unanchored search
    bool acceptsAtOnce = false;
    bool acceptsEmpty = false;

    /// Fills this, default-constructed, from the program. False when the program is not fit for it;
    /// the content is then of no use.
    bool Build(const SRegexpProgram& program);

    /// Whether there is a match in the bytes from `position`, the start of the subject or of the
    /// literal prefix, to `end`. What "^" demands never stands before a prefix.
    template <bool FoldCase>
    bool Matches(const SRegexpProgram& program, const unsigned char* position,
                 const unsigned char* end) const;
};

} // namespace Nax::FrontEnd::XMLDB
