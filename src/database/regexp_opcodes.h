// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Nax::FrontEnd::XMLDB {

/// The instructions of a compiled pattern. Each has one 32-bit argument; jump distances are signed
/// and relative to the instruction itself, so that a block can be copied without being changed.
enum class ERegexpOpcode : std::uint8_t {
    Match = 1,    ///< the next character is the argument; argument 0: the end of the subject
    Any = 2,      ///< any one character
    AnyStar = 3,  ///< any number of characters
    Fork = 4,     ///< continue at the next instruction and at the distance
    Goto = 5,     ///< continue at the distance
    Accept = 6,   ///< a match
    CcInc = 7,    ///< one character of the class in the next argument-1 instructions
    CcExc = 8,    ///< one character outside the class in the next argument-1 instructions
    CcValue = 9,  ///< member of a class: the character in the argument
    CcRange = 10, ///< member of a class: the characters of a range, see WIDE_REGEXP_RANGE
    Word = 11,
    NotWord = 12,
    Digit = 13,
    NotDigit = 14,
    Space = 15,
    NotSpace = 16,
    Boundary = 17, ///< between a word character and another one or an end of the subject
    AtStart = 18   ///< the start of the subject
};

/// The argument of CcRange is (low << 16) + high, which has no room for characters above U+FFFF. A
/// range that reaches beyond them takes three members: CcValue low, CcRange with this argument,
/// CcValue high. The argument would be the range from 1 down to 0, which is never generated.
constexpr std::uint32_t WIDE_REGEXP_RANGE = 1U << 16;

/// Read in place of a malformed byte.
constexpr std::uint32_t REPLACEMENT_CHARACTER = 0xFFFD;

constexpr bool IsRegexpWord(std::uint32_t c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || c == '_' || (c >= 'a' && c <= 'z');
}

constexpr bool IsRegexpDigit(std::uint32_t c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsRegexpSpace(std::uint32_t c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Whether `c` belongs to the set of \w, \W, \d, \D, \s or \S; false for other opcodes.
constexpr bool IsInRegexpSet(ERegexpOpcode opcode, std::uint32_t c) {
    switch (opcode) {
        case ERegexpOpcode::Word:
            return IsRegexpWord(c);
        case ERegexpOpcode::NotWord:
            return !IsRegexpWord(c);
        case ERegexpOpcode::Digit:
            return IsRegexpDigit(c);
        case ERegexpOpcode::NotDigit:
            return !IsRegexpDigit(c);
        case ERegexpOpcode::Space:
            return IsRegexpSpace(c);
        case ERegexpOpcode::NotSpace:
            return !IsRegexpSpace(c);
        default:
            return false;
    }
}

} // namespace Nax::FrontEnd::XMLDB
