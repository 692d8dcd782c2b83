// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "regexp_bit_automaton.h"
#include "regexp_buffer.h"
#include "regexp_opcodes.h"

namespace Nax::FrontEnd::XMLDB {

/// A byte for the opcode and four for the argument: just under 64 MiB for the largest program.
constexpr std::uint64_t MAX_REGEXP_INSTRUCTIONS =
    MAX_REGEXP_BUFFER_BYTES / (sizeof(ERegexpOpcode) + sizeof(std::uint32_t));

/// The result of compiling a pattern: opcode and argument of each instruction, and what speeds up
/// matching. Filled by CompileRegexp and PrepareForManySubjects and constant afterwards, so any
/// number of threads may match with it. Lives in SQLite's memory.
struct SRegexpProgram {
    static constexpr std::uint32_t MAX_PREFIX_BYTES = 10;

    CRegexpBuffer<ERegexpOpcode> opcodes;
    CRegexpBuffer<std::uint32_t> arguments;
    bool foldCase = false;

    /// UTF-8 bytes that every match begins with; none when folding case.
    std::array<char, 12> prefix{};
    std::uint32_t prefixLength = 0;

    /// Null until PrepareForManySubjects, and when the program is too large for it or asks for word
    /// boundaries.
    RegexpPtr<SRegexpBitAutomaton> bitAutomaton;
    bool prepared = false;

    std::uint32_t Size() const { return opcodes.Size(); }

    std::uint32_t JumpTarget(std::uint32_t instruction) const {
        return instruction + arguments[instruction]; // modulo 2^32: distances may be negative
    }

    /// Whether the class that begins at `instruction` (CcInc or CcExc) takes the character.
    bool ClassTakes(std::uint32_t instruction, std::uint32_t c) const;

    /// Whether the instruction, one that reads a character, takes `c`.
    bool Takes(std::uint32_t instruction, std::uint32_t c) const;

    /// The instruction after the one at `instruction`, which may be a class.
    std::uint32_t Next(std::uint32_t instruction) const {
        const ERegexpOpcode opcode = opcodes[instruction];
        const bool isClass = opcode == ERegexpOpcode::CcInc || opcode == ERegexpOpcode::CcExc;
        return instruction + (isClass ? arguments[instruction] : 1);
    }
};

} // namespace Nax::FrontEnd::XMLDB
