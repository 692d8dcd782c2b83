// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "regexp_program.h"

namespace Nax::FrontEnd::XMLDB {

/// Exactly one of the two is null.
struct SRegexpCompilation {
    RegexpPtr<SRegexpProgram> program;
    const char* error = nullptr; ///< one of RegexpErrors, never to be freed
};

/// Compiles a pattern in UTF-8, which may hold NUL characters, for the case-sensitive or the
/// folding function. Callable on any thread.
SRegexpCompilation CompileRegexp(std::string_view pattern, bool foldCase);

/// Makes matching faster, once, where the program allows it. Costs as much as matching some ten
/// subjects, which a pattern that is used once would not earn back. Without memory nothing changes.
void PrepareForManySubjects(SRegexpProgram& program);

} // namespace Nax::FrontEnd::XMLDB
