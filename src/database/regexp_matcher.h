// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

#include "regexp_program.h"

namespace Nax::FrontEnd::XMLDB {

constexpr int REGEXP_MATCH = 1;
constexpr int REGEXP_NO_MATCH = 0;
constexpr int REGEXP_OUT_OF_MEMORY = -1;

/// Whether a match begins anywhere in the subject: one of the three values above. The subject is
/// UTF-8 and may hold NUL characters. Any number of threads may match with one program.
int MatchRegexp(const SRegexpProgram& program, std::string_view subject);

/// The same with sets of instructions in every case, never with the bit automaton. When `steps` is
/// not null, the number of instructions looked at is added to it: at most the program's size for
/// each character and for the end of the subject.
int MatchRegexpWithSets(const SRegexpProgram& program, std::string_view subject,
                        std::uint64_t* steps = nullptr);

} // namespace Nax::FrontEnd::XMLDB
