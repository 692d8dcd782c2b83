// SPDX-License-Identifier: Apache-2.0
#include "regexp_parser.h"

#include <algorithm>
#include <limits>

#include "regexp_errors.h"
#include "regexp_program.h"
#include "regexp_reader.h"

namespace Nax::FrontEnd::XMLDB {

CRegexpParser::CRegexpParser(std::string_view pattern, bool foldCase, SRegexpTree& tree)
    : m_position(reinterpret_cast<const unsigned char*>(pattern.data())),
      m_end(m_position + pattern.size()),
      m_foldCase(foldCase),
      m_tree(tree) {}

const char* CRegexpParser::Parse() {
    m_tree.anchored = Skip('^');
    if (!m_groups.Append({})) {
        return RegexpErrors::OUT_OF_MEMORY;
    }
    while (!AtEnd()) {
        if (NextIs(')') && m_groups.Size() == 1) {
            return RegexpErrors::UNRECOGNIZED;
        }
        if (const char* error = ParseItem()) {
            return error;
        }
    }
    if (m_groups.Size() > 1) {
        return RegexpErrors::UNMATCHED_PARENTHESIS;
    }
    SRegexpNode root;
    if (const char* error = EndAlternation(root)) {
        return error;
    }
    m_tree.root = m_tree.nodes.Size();
    return m_tree.nodes.Append(root) ? nullptr : RegexpErrors::OUT_OF_MEMORY;
}

bool CRegexpParser::Skip(char c) {
    const bool isNext = NextIs(c);
    m_position += isNext ? 1 : 0;
    return isNext;
}

std::uint32_t CRegexpParser::ReadPatternCharacter() {
    return ReadCharacter<false>(m_position, m_end);
}

std::uint32_t CRegexpParser::Fold(std::uint32_t c) const {
    return m_foldCase ? FoldCharacter(c) : c;
}

const char* CRegexpParser::ParseItem() {
    const std::uint32_t c = ReadPatternCharacter();
    switch (c) {
        case '(':
            return m_groups.Append({}) ? nullptr : RegexpErrors::OUT_OF_MEMORY;
        case ')':
            return CloseGroup();
        case '|':
            return EndAlternative();
        case '.':
            return ParseDot();
        case '*':
            return ParseQuantifier(ERegexpNode::Star, 2, RegexpErrors::STAR_OPERAND);
        case '+':
            return ParseQuantifier(ERegexpNode::Plus, 1, RegexpErrors::PLUS_OPERAND);
        case '?':
            return ParseQuantifier(ERegexpNode::Optional, 1, RegexpErrors::OPTIONAL_OPERAND);
        case '{':
            return ParseCounts();
        case '[':
            return ParseClass();
        case '\\':
            return ParseEscapedItem();
        case '^':
            return AddInstruction(ERegexpOpcode::AtStart);
        case '$':
            return AddInstruction(ERegexpOpcode::Match);
        default:
            return AddCharacter(c);
    }
}

const char* CRegexpParser::ParseDot() {
    const bool outermost = m_groups.Size() == 1;
    const bool star = outermost && Skip('*');
    return AddInstruction(star ? ERegexpOpcode::AnyStar : ERegexpOpcode::Any);
}

const char* CRegexpParser::ParseEscapedItem() {
    const SEscape escape = ParseEscape();
    if (escape.error != nullptr) {
        return escape.error;
    }
    return escape.opcode == ERegexpOpcode::Match ? AddCharacter(escape.character)
                                                 : AddInstruction(escape.opcode);
}

const char* CRegexpParser::ParseQuantifier(ERegexpNode kind, std::uint64_t added,
                                           const char* noOperand) {
    const std::uint32_t operand = m_groups.Last().lastItem;
    if (operand == NO_REGEXP_NODE) {
        return noOperand;
    }
    SRegexpNode node;
    node.kind = kind;
    return WrapLastItem(node, m_tree.nodes[operand].size + added);
}

const char* CRegexpParser::ParseCounts() {
    const std::uint32_t operand = m_groups.Last().lastItem;
    if (operand == NO_REGEXP_NODE) {
        return RegexpErrors::COUNT_OPERAND;
    }
    std::uint64_t minimum = ParseNumber();
    std::uint64_t maximum = minimum;
    bool unbounded = false;
    if (Skip(',')) {
        unbounded = NextIs('}');
        maximum = ParseNumber();
    }
    if (!Skip('}')) {
        return RegexpErrors::UNMATCHED_BRACE;
    }
    if (maximum >= 1 && maximum < minimum) {
        return RegexpErrors::COUNTS_REVERSED;
    }
    if (minimum == 0 && maximum == 0 && !unbounded) {
        return RegexpErrors::COUNTS_ZERO;
    }
    unbounded = unbounded || maximum == 0;

    const std::uint64_t size = m_tree.nodes[operand].size;
    if (size == 0) { // any number of copies of nothing are nothing
        minimum = 0;
        maximum = 1;
    }
    // Numbers up to 2^32 and sizes up to 2^24: nothing here can overflow.
    std::uint64_t total = size * minimum;
    if (unbounded) {
        total += minimum == 0 ? size + 2 : 1;
    } else {
        total += (maximum - minimum) * (size + 1);
    }
    SRegexpNode node;
    node.kind = ERegexpNode::Counted;
    node.minimum = static_cast<std::uint32_t>(minimum);
    node.maximum = unbounded ? UNBOUNDED_REGEXP : static_cast<std::uint32_t>(maximum);
    return WrapLastItem(node, total);
}

/// A number that would not fit is as good as the largest that does: both exceed every bound.
std::uint64_t CRegexpParser::ParseNumber() {
    constexpr std::uint64_t LARGEST = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t number = 0;
    while (!AtEnd() && IsRegexpDigit(*m_position)) {
        number = std::min(number * 10 + (*m_position - '0'), LARGEST);
        ++m_position;
    }
    return number;
}

const char* CRegexpParser::CloseGroup() {
    SRegexpNode node;
    if (const char* error = EndAlternation(node)) {
        return error;
    }
    m_groups.RemoveLast();
    return AddItem(node);
}

/// Makes a sequence of the items so far.
const char* CRegexpParser::EndAlternative() {
    SGroup& group = m_groups.Last();
    SRegexpNode sequence;
    sequence.child = group.firstItem;
    sequence.size = static_cast<std::uint32_t>(group.itemsSize);
    const std::uint32_t index = m_tree.nodes.Size();
    if (!m_tree.nodes.Append(sequence)) {
        return RegexpErrors::OUT_OF_MEMORY;
    }
    if (group.firstAlternative == NO_REGEXP_NODE) {
        group.firstAlternative = index;
    } else {
        m_tree.nodes[group.lastAlternative].next = index;
        group.alternativesSize += 2; // the FORK and the GOTO of the one before
    }
    group.lastAlternative = index;
    group.alternativesSize += group.itemsSize;
    group.firstItem = group.itemBeforeLast = group.lastItem = NO_REGEXP_NODE;
    group.itemsSize = 0;
    return group.alternativesSize > MAX_REGEXP_INSTRUCTIONS ? RegexpErrors::OUT_OF_MEMORY : nullptr;
}

const char* CRegexpParser::EndAlternation(SRegexpNode& node) {
    SGroup& group = m_groups.Last();
    if (group.firstAlternative == NO_REGEXP_NODE) {
        node.child = group.firstItem;
        node.size = static_cast<std::uint32_t>(group.itemsSize);
        return nullptr;
    }
    if (const char* error = EndAlternative()) {
        return error;
    }
    node.kind = ERegexpNode::Alternation;
    node.child = group.firstAlternative;
    node.size = static_cast<std::uint32_t>(group.alternativesSize);
    return nullptr;
}

const char* CRegexpParser::AddInstruction(ERegexpOpcode opcode, std::uint32_t argument) {
    SRegexpNode node;
    node.kind = ERegexpNode::Instruction;
    node.opcode = opcode;
    node.argument = argument;
    node.size = 1;
    return AddItem(node);
}

const char* CRegexpParser::AddItem(const SRegexpNode& node) {
    SGroup& group = m_groups.Last();
    const std::uint32_t index = m_tree.nodes.Size();
    if (group.itemsSize + node.size > MAX_REGEXP_INSTRUCTIONS || !m_tree.nodes.Append(node)) {
        return RegexpErrors::OUT_OF_MEMORY;
    }
    if (group.lastItem == NO_REGEXP_NODE) {
        group.firstItem = index;
    } else {
        m_tree.nodes[group.lastItem].next = index;
    }
    group.itemBeforeLast = group.lastItem;
    group.lastItem = index;
    group.itemsSize += node.size;
    return nullptr;
}

/// Puts the node in the place of the last item, which becomes its child.
const char* CRegexpParser::WrapLastItem(SRegexpNode node, std::uint64_t size) {
    SGroup& group = m_groups.Last();
    const std::uint32_t index = m_tree.nodes.Size();
    const std::uint64_t before = group.itemsSize - m_tree.nodes[group.lastItem].size;
    if (before + size > MAX_REGEXP_INSTRUCTIONS) {
        return RegexpErrors::OUT_OF_MEMORY;
    }
    node.child = group.lastItem;
    node.size = static_cast<std::uint32_t>(size);
    if (!m_tree.nodes.Append(node)) {
        return RegexpErrors::OUT_OF_MEMORY;
    }
    if (group.itemBeforeLast == NO_REGEXP_NODE) {
        group.firstItem = index;
    } else {
        m_tree.nodes[group.itemBeforeLast].next = index;
    }
    group.lastItem = index;
    group.itemsSize = before + size;
    return nullptr;
}

} // namespace Nax::FrontEnd::XMLDB
