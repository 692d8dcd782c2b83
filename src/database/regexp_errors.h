// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What SQL statements fail with when a pattern cannot be compiled.
namespace Nax::FrontEnd::XMLDB::RegexpErrors {

constexpr const char* UNMATCHED_PARENTHESIS = "unmatched '('";
constexpr const char* STAR_OPERAND = "'*' without operand";
constexpr const char* PLUS_OPERAND = "'+' without operand";
constexpr const char* OPTIONAL_OPERAND = "'?' without operand";
constexpr const char* UNCLOSED_CLASS = "unclosed '['";
constexpr const char* POSIX_CLASS = "POSIX character classes not supported";
constexpr const char* UNKNOWN_ESCAPE = "unknown \\ escape";
constexpr const char* COUNT_OPERAND = "'{m,n}' without operand";
constexpr const char* UNMATCHED_BRACE = "unmatched '{'";
constexpr const char* COUNTS_REVERSED = "n less than m in '{m,n}'";
constexpr const char* COUNTS_ZERO = "both m and n are zero in '{m,n}'";
constexpr const char* UNRECOGNIZED = "unrecognized character";
constexpr const char* OUT_OF_MEMORY = "out of memory";

} // namespace Nax::FrontEnd::XMLDB::RegexpErrors
