// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

#include "regexp_buffer.h"
#include "regexp_opcodes.h"

namespace Nax::FrontEnd::XMLDB {

struct SRegexpInstruction {
    ERegexpOpcode opcode;
    std::uint32_t argument;
};

constexpr std::uint32_t NO_REGEXP_NODE = 0xFFFFFFFF;
constexpr std::uint32_t UNBOUNDED_REGEXP = 0xFFFFFFFF;

enum class ERegexpNode : std::uint8_t {
    Instruction,
    Class,       ///< its instructions stand in SRegexpTree::classMembers
    Sequence,    ///< of the list of children
    Alternation, ///< of the list of children
    Star,
    Plus,
    Optional,
    Counted
};

struct SRegexpNode {
    ERegexpNode kind = ERegexpNode::Sequence;
    ERegexpOpcode opcode = ERegexpOpcode::Accept;
    std::uint32_t argument = 0; ///< of the instruction; Class: the first member
    std::uint32_t child = NO_REGEXP_NODE;
    std::uint32_t next = NO_REGEXP_NODE; ///< the sibling
    std::uint32_t minimum = 0;           ///< Counted
    std::uint32_t maximum = 0;           ///< Counted
    std::uint32_t size = 0;              ///< number of instructions with all copies
    std::uint32_t position = 0;          ///< of the first instruction, set by the compiler
};

/// A parsed pattern. A node stands after all its descendants, which lets the passes over the tree
/// be loops instead of recursions.
struct SRegexpTree {
    CRegexpBuffer<SRegexpNode> nodes;
    CRegexpBuffer<SRegexpInstruction> classMembers;
    std::uint32_t root = NO_REGEXP_NODE;
    bool anchored = false; ///< the pattern begins with "^"
};

/// Turns a pattern into a tree in one pass. Open groups are kept on a stack of its own, so patterns
/// may nest as deep as memory goes. Sizes are summed up in 64 bits before anything is generated: a
/// pattern whose program would exceed its bound fails where it does so, at no cost.
///
/// Use: one object, one pattern, one thread. The caller owns pattern and tree.
class CRegexpParser {
public:
    CRegexpParser(std::string_view pattern, bool foldCase, SRegexpTree& tree);

    /// Null, or the text of the first error; the tree is then incomplete.
    const char* Parse();

private:
    struct SGroup {
        std::uint32_t firstAlternative = NO_REGEXP_NODE;
        std::uint32_t lastAlternative = NO_REGEXP_NODE;
        std::uint64_t alternativesSize = 0;
        std::uint32_t firstItem = NO_REGEXP_NODE;
        std::uint32_t itemBeforeLast = NO_REGEXP_NODE;
        std::uint32_t lastItem = NO_REGEXP_NODE;
        std::uint64_t itemsSize = 0;
    };

    struct SEscape {
        const char* error = nullptr;
        ERegexpOpcode opcode = ERegexpOpcode::Match;
        std::uint32_t character = 0;
    };

    bool AtEnd() const { return m_position == m_end; }
    bool NextIs(char c) const { return !AtEnd() && *m_position == static_cast<unsigned char>(c); }
    bool Skip(char c);
    std::uint32_t ReadPatternCharacter();
    std::uint32_t Fold(std::uint32_t c) const;

    const char* ParseItem();
    const char* ParseEscapedItem();
    const char* ParseDot();
    const char* ParseQuantifier(ERegexpNode kind, std::uint64_t added, const char* noOperand);
    const char* ParseCounts();
    std::uint64_t ParseNumber();
    SEscape ParseEscape();
    const char* ParseHexadecimal(int digits, std::uint32_t& character);

    const char* ParseClass();
    const char* ParseClassMember();
    const char* ReadClassCharacter(std::uint32_t& c);
    const char* AddRange(std::uint32_t low, std::uint32_t high);
    const char* AddPlainRange(std::uint32_t low, std::uint32_t high);
    const char* AddMember(ERegexpOpcode opcode, std::uint32_t argument);

    const char* CloseGroup();
    const char* EndAlternative();
    const char* EndAlternation(SRegexpNode& node);
    const char* AddInstruction(ERegexpOpcode opcode, std::uint32_t argument = 0);
    const char* AddCharacter(std::uint32_t c);
    const char* AddItem(const SRegexpNode& node);
    const char* WrapLastItem(SRegexpNode node, std::uint64_t size);

    const unsigned char* m_position;
    const unsigned char* m_end;
    bool m_foldCase;
    SRegexpTree& m_tree;
    CRegexpBuffer<SGroup> m_groups;
};

} // namespace Nax::FrontEnd::XMLDB
