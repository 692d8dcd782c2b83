// SPDX-License-Identifier: Apache-2.0
// The generated instructions: number of the opcode, and the argument where it means something.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "regexp_compiler.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

std::string ArgumentOf(ERegexpOpcode opcode, std::uint32_t argument) {
    switch (opcode) {
        case ERegexpOpcode::Match:
        case ERegexpOpcode::CcValue: {
            const bool printable = argument > ' ' && argument < 0x7F;
            return printable ? std::string(1, static_cast<char>(argument))
                             : std::to_string(argument);
        }
        case ERegexpOpcode::Fork:
        case ERegexpOpcode::Goto:
            return std::to_string(static_cast<std::int32_t>(argument));
        case ERegexpOpcode::CcInc:
        case ERegexpOpcode::CcExc:
            return std::to_string(argument);
        case ERegexpOpcode::CcRange:
            return std::to_string(argument >> 16) + "-" + std::to_string(argument & 0xFFFF);
        default:
            return "";
    }
}

std::string List(const SRegexpProgram& program) {
    std::string listing;
    for (std::uint32_t i = 0; i < program.Size(); ++i) {
        const ERegexpOpcode opcode = program.opcodes[i];
        const std::string argument = ArgumentOf(opcode, program.arguments[i]);
        listing += (i == 0 ? "" : ", ") + std::to_string(static_cast<int>(opcode));
        listing += argument.empty() ? "" : " " + argument;
    }
    return listing;
}

TEST(RegexpProgramTest, Instructions) {
    struct SCase {
        std::string_view pattern;
        std::string_view listing;
    };
    const SCase cases[] = {
        {"", "3, 6"},
        {"^", "6"},
        {"a.", "3, 1 a, 2, 6"},
        {"^.*.(.*)", "3, 2, 4 3, 2, 5 -2, 6"},
        {"^a*", "4 3, 1 a, 5 -2, 6"},
        {"^a+", "1 a, 4 -1, 6"},
        {"^a?", "4 2, 1 a, 6"},
        {"^a|b|c", "4 3, 1 a, 5 5, 4 3, 1 b, 5 2, 1 c, 6"},
        {"^((a|b)|c)", "4 6, 4 3, 1 a, 5 4, 1 b, 5 2, 1 c, 6"},
        {"^a{2}", "1 a, 1 a, 6"},
        {"^a{1,3}", "1 a, 4 4, 1 a, 4 2, 1 a, 6"},
        {"^a{0,2}", "4 4, 1 a, 4 2, 1 a, 6"},
        {"^a{2,}", "1 a, 1 a, 4 -1, 6"},
        {"^a{0,}", "4 3, 1 a, 4 -1, 6"},
        {"^[a-cx]", "7 3, 10 97-99, 9 x, 6"},
        {"^[^\\d]", "8 2, 13, 6"},
        {"^[a-\xF0\x9F\x98\x80]", "7 4, 9 a, 10 1-0, 9 128512, 6"},
        {"^\\w\\W\\d\\D\\s\\S\\b", "11, 12, 13, 14, 15, 16, 17, 6"},
        {"b^$", "3, 1 b, 18, 1 0, 6"},
        {"^\\x00", "7 2, 9 0, 6"},
        {"^(ab|c)*\\d{2,}$", "4 7, 4 4, 1 a, 1 b, 5 -4, 1 c, 5 -6, 13, 13, 4 -1, 1 0, 6"},
    };
    for (const SCase& row : cases) {
        const SRegexpCompilation compilation = CompileRegexp(row.pattern, false);
        ASSERT_NE(compilation.program, nullptr) << row.pattern;
        EXPECT_EQ(List(*compilation.program), row.listing) << row.pattern;
    }
}

TEST(RegexpProgramTest, LiteralPrefixes) {
    struct SCase {
        std::string_view pattern;
        std::string_view prefix;
    };
    const SCase cases[] = {
        {"abc", "abc"},
        {"^abc", ""},
        {"abc*", "ab"},
        {"abc+", "abc"},
        {"a|b", ""},
        {"(ab){2}.", "abab"},
        {"ab$", "ab"},
        {".*ab", ""},
        {"^.*ab", "ab"},
        {"abcdefghijkl", "abcdefghij"},
        {"abcdefgh\\u20acx", "abcdefgh"},
        {"\\u00e9\\u20ac\xF0\x9F\x98\x80!", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!"},
        {"a\\ufffdb", "a"},
    };
    for (const SCase& row : cases) {
        const RegexpPtr<SRegexpProgram> compiled = CompileRegexp(row.pattern, false).program;
        const SRegexpProgram& program = *compiled;
        EXPECT_EQ(std::string_view(program.prefix.data(), program.prefixLength), row.prefix)
            << row.pattern;
        EXPECT_EQ(CompileRegexp(row.pattern, true).program->prefixLength, 0U) << row.pattern;
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
