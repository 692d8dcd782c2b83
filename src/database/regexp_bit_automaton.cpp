// SPDX-License-Identifier: Apache-2.0
#include "regexp_bit_automaton.h"

#include <bit>
#include <bitset>

#include "regexp_program.h"
#include "regexp_reader.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr std::uint64_t BitOf(std::uint32_t position) {
    return std::uint64_t{1} << position;
}

/// Where the automaton may stand without reading a character.
struct SClosure {
    std::uint64_t positions = 0;
    bool accepts = false;
};

struct SConditions {
    bool atStart;
    bool atEnd;
};

/// Follows the instructions that read nothing.
class CClosureFinder {
public:
    explicit CClosureFinder(const SRegexpProgram& program) : m_program(program) {}

    /// Numbers the instructions that read a character; false when there are too many.
    bool NumberPositions(SRegexpBitAutomaton& automaton) {
        for (std::uint32_t i = 0; i < m_program.Size(); i = m_program.Next(i)) {
            if (m_program.opcodes[i] == ERegexpOpcode::Boundary) {
                return false;
            }
            if (!ReadsCharacter(i)) {
                continue;
            }
            if (automaton.positionCount == SRegexpBitAutomaton::MAX_POSITIONS) {
                return false;
            }
            m_positionOf[i] = automaton.positionCount;
            automaton.instructions[automaton.positionCount++] = i;
        }
        return true;
    }

    SClosure Find(std::uint32_t start, SConditions conditions) {
        SClosure closure;
        m_seen.reset();
        m_stackSize = 0;
        Push(start);
        while (m_stackSize > 0) {
            const std::uint32_t i = m_stack[--m_stackSize];
            const ERegexpOpcode opcode = m_program.opcodes[i];
            if (opcode == ERegexpOpcode::Accept) {
                closure.accepts = true;
            } else if (opcode == ERegexpOpcode::Goto) {
                Push(m_program.JumpTarget(i));
            } else if (opcode == ERegexpOpcode::Fork) {
                Push(m_program.JumpTarget(i));
                Push(i + 1);
            } else if (ReadsCharacter(i)) {
                closure.positions |= BitOf(m_positionOf[i]);
                if (opcode == ERegexpOpcode::AnyStar) {
                    Push(i + 1);
                }
            } else if (opcode == ERegexpOpcode::AtStart ? conditions.atStart : conditions.atEnd) {
                Push(i + 1);
            }
        }
        return closure;
    }

private:
    /// What is left over are jumps, ACCEPT, "^" and "$" (MATCH of 0).
    bool ReadsCharacter(std::uint32_t i) const {
        switch (m_program.opcodes[i]) {
            case ERegexpOpcode::Match:
                return m_program.arguments[i] != 0;
            case ERegexpOpcode::Fork:
            case ERegexpOpcode::Goto:
            case ERegexpOpcode::Accept:
            case ERegexpOpcode::AtStart:
                return false;
            default:
                return true;
        }
    }

    /// Every instruction enters the stack once at most.
    void Push(std::uint32_t i) {
        if (!m_seen[i]) {
            m_seen[i] = true;
            m_stack[m_stackSize++] = i;
        }
    }

    const SRegexpProgram& m_program;
    std::array<std::uint32_t, SRegexpBitAutomaton::MAX_INSTRUCTIONS> m_positionOf{};
    std::array<std::uint32_t, SRegexpBitAutomaton::MAX_INSTRUCTIONS> m_stack{};
    std::bitset<SRegexpBitAutomaton::MAX_INSTRUCTIONS> m_seen;
    std::uint32_t m_stackSize = 0;
};

/// The positions among `candidates` that take a character above U+007F.
std::uint64_t WideTakers(const SRegexpBitAutomaton& automaton, const SRegexpProgram& program,
                         std::uint64_t candidates, std::uint32_t c) {
    std::uint64_t takers = 0;
    for (std::uint64_t rest = candidates; rest != 0; rest &= rest - 1) {
        const auto position = static_cast<std::uint32_t>(std::countr_zero(rest));
        if (program.Takes(automaton.instructions[position], c)) {
            takers |= BitOf(position);
        }
    }
    return takers;
}

void FillTakers(SRegexpBitAutomaton& automaton, const SRegexpProgram& program) {
    for (std::uint32_t position = 0; position < automaton.positionCount; ++position) {
        const std::uint32_t instruction = automaton.instructions[position];
        if (program.opcodes[instruction] == ERegexpOpcode::Match) {
            if (program.arguments[instruction] < automaton.takers.size()) {
                automaton.takers[program.arguments[instruction]] |= BitOf(position);
            }
            continue;
        }
        for (std::uint32_t c = 0; c < automaton.takers.size(); ++c) {
            if (program.Takes(instruction, c)) {
                automaton.takers[c] |= BitOf(position);
            }
        }
    }
}

} // namespace

bool SRegexpBitAutomaton::Build(const SRegexpProgram& program) {
    if (program.Size() > MAX_INSTRUCTIONS) {
        return false;
    }
    CClosureFinder finder(program);
    if (!finder.NumberPositions(*this)) {
        return false;
    }
    FillTakers(*this, program);
    for (std::uint32_t position = 0; position < positionCount; ++position) {
        const std::uint32_t instruction = instructions[position];
        const bool isStar = program.opcodes[instruction] == ERegexpOpcode::AnyStar;
        const std::uint32_t next = isStar ? instruction : program.Next(instruction);
        const SClosure after = finder.Find(next, {.atStart = false, .atEnd = false});
        followers[position] = after.positions;
        accepting |= after.accepts ? BitOf(position) : 0;
        const SClosure last = finder.Find(next, {.atStart = false, .atEnd = true});
        acceptingEnd |= last.accepts ? BitOf(position) : 0;
        if (position + 1 < MAX_POSITIONS && after.positions == BitOf(position + 1)) {
            shiftable |= BitOf(position);
        }
    }
    const SClosure first = finder.Find(0, {.atStart = true, .atEnd = false});
    initial = first.positions;
    acceptsAtOnce = first.accepts;
    acceptsEmpty = finder.Find(0, {.atStart = true, .atEnd = true}).accepts;
    if (program.opcodes[0] == ERegexpOpcode::AnyStar) {
        always = followers[0];
    }
    return true;
}

template <bool FoldCase>
bool SRegexpBitAutomaton::Matches(const SRegexpProgram& program, const unsigned char* position,
                                  const unsigned char* end) const {
    if (acceptsAtOnce) {
        return true;
    }
    if (position == end) {
        return acceptsEmpty;
    }
    std::uint64_t candidates = initial;
    const std::uint64_t branching = ~shiftable & (always != 0 ? ~BitOf(0) : ~std::uint64_t{0});
    std::uint64_t taken = 0;
    while (position < end) {
        const std::uint32_t c = ReadCharacter<FoldCase>(position, end);
        taken =
            c < takers.size() ? candidates & takers[c] : WideTakers(*this, program, candidates, c);
        if ((taken & accepting) != 0) {
            return true;
        }
        candidates = ((taken & shiftable) << 1) | always;
        for (std::uint64_t rest = taken & branching; rest != 0; rest &= rest - 1) {
            candidates |= followers[static_cast<std::size_t>(std::countr_zero(rest))];
        }
        if (candidates == 0) {
            return position == end && (taken & acceptingEnd) != 0;
        }
    }
    return (taken & acceptingEnd) != 0;
}

template bool SRegexpBitAutomaton::Matches<false>(const SRegexpProgram&, const unsigned char*,
                                                  const unsigned char*) const;
template bool SRegexpBitAutomaton::Matches<true>(const SRegexpProgram&, const unsigned char*,
                                                 const unsigned char*) const;

} // namespace Nax::FrontEnd::XMLDB
