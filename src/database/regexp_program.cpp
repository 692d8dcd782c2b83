// SPDX-License-Identifier: Apache-2.0
#include "regexp_program.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

bool RangeTakes(const std::uint32_t* argument, std::uint32_t c) {
    if (*argument == WIDE_REGEXP_RANGE) {
        return c >= argument[-1] && c <= argument[1];
    }
    return c >= *argument >> 16 && c <= (*argument & 0xFFFF);
}

} // namespace

bool SRegexpProgram::ClassTakes(std::uint32_t instruction, std::uint32_t c) const {
    const ERegexpOpcode* opcode = opcodes.Data();
    const std::uint32_t* argument = arguments.Data();
    const std::uint32_t end = instruction + argument[instruction];
    const bool found = opcode[instruction] == ERegexpOpcode::CcInc;
    for (std::uint32_t member = instruction + 1; member < end; ++member) {
        bool taken = false;
        if (opcode[member] == ERegexpOpcode::CcRange) {
            taken = RangeTakes(argument + member, c);
        } else if (opcode[member] == ERegexpOpcode::CcValue) {
            taken = argument[member] == c;
        } else {
            taken = IsInRegexpSet(opcode[member], c);
        }
        if (taken) {
            return found;
        }
    }
    return !found;
}

bool SRegexpProgram::Takes(std::uint32_t instruction, std::uint32_t c) const {
    switch (opcodes[instruction]) {
        case ERegexpOpcode::Match:
            return arguments[instruction] == c && c != 0;
        case ERegexpOpcode::Any:
        case ERegexpOpcode::AnyStar:
            return true;
        case ERegexpOpcode::CcInc:
        case ERegexpOpcode::CcExc:
            return ClassTakes(instruction, c);
        default:
            return IsInRegexpSet(opcodes[instruction], c);
    }
}

} // namespace Nax::FrontEnd::XMLDB
