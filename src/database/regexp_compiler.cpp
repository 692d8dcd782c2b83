// SPDX-License-Identifier: Apache-2.0
// Generates the program from the parsed pattern. Time and memory are linear in the pattern's length
// plus the program's size, with no recursion: parents stand after their children in the tree, so
// one loop backwards hands out the places of all blocks, and one loop forwards fills them. A block
// that is repeated is complete, and as its jumps are relative can be copied, when its parent is
// due.
//
// tests/database/regexp_exhaustive_test.cpp compares the outcome with a matcher that works on the
// pattern itself.
#include "regexp_compiler.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "regexp_errors.h"
#include "regexp_parser.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

class CGenerator {
public:
    CGenerator(SRegexpTree& tree, SRegexpProgram& program) : m_tree(tree), m_program(program) {}

    bool Generate() {
        const std::uint32_t start = m_tree.anchored ? 0 : 1;
        const std::uint64_t size = std::uint64_t{start} + m_tree.nodes[m_tree.root].size + 1;
        if (size > MAX_REGEXP_INSTRUCTIONS || m_program.opcodes.Extend(size) == nullptr ||
            m_program.arguments.Extend(size) == nullptr) {
            return false;
        }
        if (!m_tree.anchored) {
            Put(0, ERegexpOpcode::AnyStar, 0);
        }
        Put(m_program.Size() - 1, ERegexpOpcode::Accept, 0);
        PlaceBlocks(start);
        for (std::uint32_t i = 0; i < m_tree.nodes.Size(); ++i) {
            Fill(m_tree.nodes[i]);
        }
        ShortenJumps();
        return true;
    }

private:
    void PlaceBlocks(std::uint32_t start) {
        m_tree.nodes[m_tree.root].position = start;
        for (std::uint32_t i = m_tree.nodes.Size(); i-- > 0;) {
            const SRegexpNode& node = m_tree.nodes[i];
            const bool isList =
                node.kind == ERegexpNode::Sequence || node.kind == ERegexpNode::Alternation;
            if (isList) {
                PlaceList(node);
            } else if (node.child != NO_REGEXP_NODE) {
                const bool forkFirst = node.kind == ERegexpNode::Star ||
                                       node.kind == ERegexpNode::Optional ||
                                       (node.kind == ERegexpNode::Counted && node.minimum == 0);
                m_tree.nodes[node.child].position = node.position + (forkFirst ? 1 : 0);
            }
        }
    }

    void PlaceList(const SRegexpNode& list) {
        std::uint32_t position = list.position;
        for (std::uint32_t i = list.child; i != NO_REGEXP_NODE; i = m_tree.nodes[i].next) {
            SRegexpNode& child = m_tree.nodes[i];
            const bool choice =
                list.kind == ERegexpNode::Alternation && child.next != NO_REGEXP_NODE;
            child.position = position + (choice ? 1 : 0);
            position += child.size + (choice ? 2 : 0);
        }
    }

    void Fill(const SRegexpNode& node) {
        const std::uint32_t last = node.position + node.size - 1;
        switch (node.kind) {
            case ERegexpNode::Instruction:
                Put(node.position, node.opcode, node.argument);
                break;
            case ERegexpNode::Class:
                FillClass(node);
                break;
            case ERegexpNode::Sequence:
                break;
            case ERegexpNode::Alternation:
                FillAlternation(node);
                break;
            case ERegexpNode::Star:
                PutJump(node.position, ERegexpOpcode::Fork, last + 1);
                PutJump(last, ERegexpOpcode::Goto, node.position);
                break;
            case ERegexpNode::Plus:
                PutJump(last, ERegexpOpcode::Fork, node.position);
                break;
            case ERegexpNode::Optional:
                PutJump(node.position, ERegexpOpcode::Fork, last + 1);
                break;
            case ERegexpNode::Counted:
                FillCounted(node);
                break;
        }
    }

    void FillClass(const SRegexpNode& node) {
        Put(node.position, node.opcode, node.size);
        for (std::uint32_t i = 1; i < node.size; ++i) {
            const SRegexpInstruction& member = m_tree.classMembers[node.argument + i - 1];
            Put(node.position + i, member.opcode, member.argument);
        }
    }

    void FillAlternation(const SRegexpNode& node) {
        const std::uint32_t end = node.position + node.size;
        for (std::uint32_t i = node.child; m_tree.nodes[i].next != NO_REGEXP_NODE;
             i = m_tree.nodes[i].next) {
            const SRegexpNode& choice = m_tree.nodes[i];
            const std::uint32_t after = choice.position + choice.size;
            PutJump(choice.position - 1, ERegexpOpcode::Fork, after + 1);
            PutJump(after, ERegexpOpcode::Goto, end);
        }
    }

    /// The FORK before an optional copy leads to the end of all of them, not to the next FORK:
    /// otherwise each character would have to pass through all that are left.
    void FillCounted(const SRegexpNode& node) {
        const SRegexpNode& child = m_tree.nodes[node.child];
        const std::uint32_t end = node.position + node.size;
        const bool unbounded = node.maximum == UNBOUNDED_REGEXP;
        std::uint32_t position = child.position + child.size;
        if (node.minimum == 0) {
            PutJump(node.position, ERegexpOpcode::Fork, end);
        }
        for (std::uint32_t copy = 1; copy < node.minimum; ++copy) {
            Copy(child, position);
        }
        if (unbounded) {
            PutJump(position, ERegexpOpcode::Fork,
                    child.size == 0 ? position : position - child.size);
            return;
        }
        for (std::uint32_t copy = std::max(node.minimum, 1U); copy < node.maximum; ++copy) {
            PutJump(position++, ERegexpOpcode::Fork, end);
            Copy(child, position);
        }
    }

    void Copy(const SRegexpNode& block, std::uint32_t& position) {
        ERegexpOpcode* opcodes = m_program.opcodes.Data();
        std::uint32_t* arguments = m_program.arguments.Data();
        std::copy_n(opcodes + block.position, block.size, opcodes + position);
        std::copy_n(arguments + block.position, block.size, arguments + position);
        position += block.size;
    }

    /// Lets jumps that lead to a GOTO lead to its target, so that following a jump is one step. All
    /// GOTOs that lead backwards lead to a FORK, so going from the end sees each target first.
    void ShortenJumps() {
        for (std::uint32_t i = m_program.Size(); i-- > 0;) {
            const ERegexpOpcode opcode = m_program.opcodes[i];
            if (opcode != ERegexpOpcode::Goto && opcode != ERegexpOpcode::Fork) {
                continue;
            }
            const std::uint32_t target = m_program.JumpTarget(i);
            if (target > i && m_program.opcodes[target] == ERegexpOpcode::Goto) {
                PutJump(i, opcode, m_program.JumpTarget(target));
            }
        }
    }

    void Put(std::uint32_t position, ERegexpOpcode opcode, std::uint32_t argument) {
        m_program.opcodes[position] = opcode;
        m_program.arguments[position] = argument;
    }

    void PutJump(std::uint32_t position, ERegexpOpcode opcode, std::uint32_t target) {
        Put(position, opcode, target - position);
    }

    SRegexpTree& m_tree;
    SRegexpProgram& m_program;
};

std::uint32_t EncodeUtf8(std::uint32_t c, char* bytes) {
    const auto continuation = [c](unsigned shift) {
        return static_cast<char>(0x80U | ((c >> shift) & 0x3FU));
    };
    if (c < 0x80) {
        bytes[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        bytes[0] = static_cast<char>(0xC0U | (c >> 6));
        bytes[1] = continuation(0);
        return 2;
    }
    if (c < 0x10000) {
        bytes[0] = static_cast<char>(0xE0U | (c >> 12));
        bytes[1] = continuation(6);
        bytes[2] = continuation(0);
        return 3;
    }
    bytes[0] = static_cast<char>(0xF0U | (c >> 18));
    bytes[1] = continuation(12);
    bytes[2] = continuation(6);
    bytes[3] = continuation(0);
    return 4;
}

/// U+FFFD ends the prefix, because it also stands for malformed bytes, and so does MATCH of 0.
void CollectPrefix(SRegexpProgram& program) {
    if (program.foldCase || program.opcodes[0] != ERegexpOpcode::AnyStar) {
        return;
    }
    for (std::uint32_t i = 1; program.opcodes[i] == ERegexpOpcode::Match; ++i) {
        const std::uint32_t c = program.arguments[i];
        char bytes[4];
        const std::uint32_t length = EncodeUtf8(c, bytes);
        if (c == 0 || c == REPLACEMENT_CHARACTER ||
            program.prefixLength + length > SRegexpProgram::MAX_PREFIX_BYTES) {
            return;
        }
        std::memcpy(program.prefix.data() + program.prefixLength, bytes, length);
        program.prefixLength += length;
    }
}

SRegexpCompilation Failure(const char* error) {
    return {nullptr, error};
}

} // namespace

SRegexpCompilation CompileRegexp(std::string_view pattern, bool foldCase) {
    RegexpPtr<SRegexpProgram> program = MakeRegexpObject<SRegexpProgram>();
    if (program == nullptr) {
        return Failure(RegexpErrors::OUT_OF_MEMORY);
    }
    program->foldCase = foldCase;
    SRegexpTree tree;
    if (const char* error = CRegexpParser(pattern, foldCase, tree).Parse()) {
        return Failure(error);
    }
    if (!CGenerator(tree, *program).Generate()) {
        return Failure(RegexpErrors::OUT_OF_MEMORY);
    }
    CollectPrefix(*program);
    return {std::move(program), nullptr};
}

void PrepareForManySubjects(SRegexpProgram& program) {
    if (program.prepared) {
        return;
    }
    program.prepared = true;
    if (program.Size() > SRegexpBitAutomaton::MAX_INSTRUCTIONS) {
        return;
    }
    // Matching works without it, so a lack of memory here is no failure.
    RegexpPtr<SRegexpBitAutomaton> automaton = MakeRegexpObject<SRegexpBitAutomaton>();
    if (automaton != nullptr && automaton->Build(program)) {
        program.bitAutomaton = std::move(automaton);
    }
}

} // namespace Nax::FrontEnd::XMLDB
