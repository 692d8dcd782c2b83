// SPDX-License-Identifier: Apache-2.0
// The parts of the parser that read single characters: escapes and classes in square brackets.
#include <algorithm>
#include <string_view>

#include "regexp_errors.h"
#include "regexp_parser.h"
#include "regexp_reader.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr int NO_HEXADECIMAL_DIGIT = -1;

int HexadecimalValue(unsigned char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const auto lower = static_cast<int>(FoldCharacter(c));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : NO_HEXADECIMAL_DIGIT;
}

/// The set or condition that the letter after a backslash stands for; Match for none.
ERegexpOpcode EscapedOpcode(unsigned char letter) {
    switch (letter) {
        case 'd':
            return ERegexpOpcode::Digit;
        case 'D':
            return ERegexpOpcode::NotDigit;
        case 'w':
            return ERegexpOpcode::Word;
        case 'W':
            return ERegexpOpcode::NotWord;
        case 's':
            return ERegexpOpcode::Space;
        case 'S':
            return ERegexpOpcode::NotSpace;
        case 'b':
            return ERegexpOpcode::Boundary;
        default:
            return ERegexpOpcode::Match;
    }
}

} // namespace

/// Reads what follows a backslash. Letters are compared unfolded: "\D" is never "\d".
CRegexpParser::SEscape CRegexpParser::ParseEscape() {
    constexpr std::string_view ESCAPED = "afnrtv\\()*.+?[$^{|}]";
    constexpr std::string_view MEANINGS = "\a\f\n\r\t\v\\()*.+?[$^{|}]";
    SEscape escape;
    if (AtEnd()) {
        escape.error = RegexpErrors::UNKNOWN_ESCAPE;
        return escape;
    }
    const unsigned char letter = *m_position++;
    escape.opcode = EscapedOpcode(letter);
    if (escape.opcode != ERegexpOpcode::Match) {
        return escape;
    }
    if (letter == 'u' || letter == 'x') {
        escape.error = ParseHexadecimal(letter == 'u' ? 4 : 2, escape.character);
        return escape;
    }
    const std::size_t index = ESCAPED.find(static_cast<char>(letter));
    if (index == std::string_view::npos) {
        escape.error = RegexpErrors::UNKNOWN_ESCAPE;
    } else {
        escape.character = static_cast<unsigned char>(MEANINGS[index]);
    }
    return escape;
}

const char* CRegexpParser::ParseHexadecimal(int digits, std::uint32_t& character) {
    for (int i = 0; i < digits; ++i) {
        const int value = AtEnd() ? NO_HEXADECIMAL_DIGIT : HexadecimalValue(*m_position);
        if (value == NO_HEXADECIMAL_DIGIT) {
            return RegexpErrors::UNKNOWN_ESCAPE;
        }
        character = character * 16 + static_cast<std::uint32_t>(value);
        ++m_position;
    }
    return nullptr;
}

/// MATCH of 0 is the end of the subject; a NUL character is a class of one member instead.
const char* CRegexpParser::AddCharacter(std::uint32_t c) {
    if (c != 0) {
        return AddInstruction(ERegexpOpcode::Match, Fold(c));
    }
    SRegexpNode node;
    node.kind = ERegexpNode::Class;
    node.opcode = ERegexpOpcode::CcInc;
    node.argument = m_tree.classMembers.Size();
    node.size = 2;
    const char* error = AddMember(ERegexpOpcode::CcValue, 0);
    return error != nullptr ? error : AddItem(node);
}

const char* CRegexpParser::ParseClass() {
    SRegexpNode node;
    node.kind = ERegexpNode::Class;
    node.opcode = Skip('^') ? ERegexpOpcode::CcExc : ERegexpOpcode::CcInc;
    node.argument = m_tree.classMembers.Size();
    bool first = true;
    while (first || !Skip(']')) {
        if (AtEnd()) {
            return RegexpErrors::UNCLOSED_CLASS;
        }
        if (const char* error = ParseClassMember()) {
            return error;
        }
        first = false;
    }
    node.size = m_tree.classMembers.Size() - node.argument + 1;
    return AddItem(node);
}

const char* CRegexpParser::ParseClassMember() {
    if (m_end - m_position >= 2 && m_position[0] == '[' && m_position[1] == ':') {
        return RegexpErrors::POSIX_CLASS;
    }
    std::uint32_t low = 0;
    if (NextIs('\\') && m_end - m_position >= 2) {
        const ERegexpOpcode set = EscapedOpcode(m_position[1]);
        if (set != ERegexpOpcode::Match && set != ERegexpOpcode::Boundary) {
            m_position += 2;
            return AddMember(set, 0);
        }
    }
    if (const char* error = ReadClassCharacter(low)) {
        return error;
    }
    // A hyphen before the closing bracket is a member.
    const bool isRange = NextIs('-') && m_end - m_position >= 2 && m_position[1] != ']';
    if (!isRange) {
        return AddMember(ERegexpOpcode::CcValue, Fold(low));
    }
    ++m_position;
    std::uint32_t high = 0;
    if (const char* error = ReadClassCharacter(high)) {
        return error;
    }
    return AddRange(low, high);
}

const char* CRegexpParser::ReadClassCharacter(std::uint32_t& c) {
    c = ReadPatternCharacter();
    if (c != '\\') {
        return nullptr;
    }
    const SEscape escape = ParseEscape();
    if (escape.error != nullptr || escape.opcode != ERegexpOpcode::Match) {
        return RegexpErrors::UNKNOWN_ESCAPE;
    }
    c = escape.character;
    return nullptr;
}

/// A folded subject has no capitals, so the part of the range inside A-Z moves to a-z; the rest
/// stays. Folding the ends alone would add "_" to [+-Z] and take it from [A-z]. Ends that are only
/// in order once folded, such as [a-Z], are folded.
const char* CRegexpParser::AddRange(std::uint32_t low, std::uint32_t high) {
    if (!m_foldCase) {
        return AddPlainRange(low, high);
    }
    if (low > high) {
        low = Fold(low);
        high = Fold(high);
    }
    const std::uint32_t firstCapital = std::max<std::uint32_t>(low, 'A');
    const std::uint32_t lastCapital = std::min<std::uint32_t>(high, 'Z');
    if (firstCapital <= lastCapital) {
        if (const char* error = AddPlainRange(Fold(firstCapital), Fold(lastCapital))) {
            return error;
        }
    }
    const bool onlyCapitals = firstCapital == low && lastCapital == high;
    return onlyCapitals ? nullptr : AddPlainRange(low, high);
}

const char* CRegexpParser::AddPlainRange(std::uint32_t low, std::uint32_t high) {
    if (low > high) {
        return nullptr;
    }
    if (high <= 0xFFFF) {
        return AddMember(ERegexpOpcode::CcRange, (low << 16) + high);
    }
    const char* error = AddMember(ERegexpOpcode::CcValue, low);
    error = error != nullptr ? error : AddMember(ERegexpOpcode::CcRange, WIDE_REGEXP_RANGE);
    return error != nullptr ? error : AddMember(ERegexpOpcode::CcValue, high);
}

const char* CRegexpParser::AddMember(ERegexpOpcode opcode, std::uint32_t argument) {
    return m_tree.classMembers.Append({opcode, argument}) ? nullptr : RegexpErrors::OUT_OF_MEMORY;
}

} // namespace Nax::FrontEnd::XMLDB
