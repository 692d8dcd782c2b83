// SPDX-License-Identifier: Apache-2.0
// Large programs, deep nesting, want of memory, and the promise of linear cost.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "regexp_compiler.h"
#include "regexp_matcher.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

std::string Repeat(const std::string& text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

int Match(const std::string& pattern, const std::string& subject) {
    const SRegexpCompilation compilation = CompileRegexp(pattern, false);
    EXPECT_EQ(compilation.error, nullptr) << compilation.error;
    return compilation.program == nullptr ? -2 : MatchRegexpWithSets(*compilation.program, subject);
}

TEST(RegexpLimitsTest, JumpsAndSetsReachBeyond65535Instructions) {
    const std::string subject(70'000, 'a');
    EXPECT_EQ(Match("^(a|b){70000}$", subject), REGEXP_MATCH);
    EXPECT_EQ(Match("^(a|b){70000}$", subject + "a"), REGEXP_NO_MATCH);
    EXPECT_EQ(Match("^(a|b){1,70000}$", subject + "a"), REGEXP_NO_MATCH);
    EXPECT_EQ(Match("^(b{66000}|a)*$", "aaa"), REGEXP_MATCH);
    EXPECT_EQ(Match("^(b{66000}|a){2,}$", std::string(66'000, 'b') + "a"), REGEXP_MATCH);
    EXPECT_EQ(Match("^[" + Repeat("a-c", 70'000) + "]$", "c"), REGEXP_MATCH);
}

TEST(RegexpLimitsTest, ProgramsOverTheBoundAreRefusedBeforeTheyAreMade) {
    const sqlite3_int64 before = sqlite3_memory_used();
    sqlite3_memory_highwater(1);
    for (const char* pattern :
         {"a{2000000000}", "((a{1000}){1000}){1000}", "(a|b){1,13000000}", "a{9000000}|b{9000000}",
          "a{9000000}b{9000000}", "(((((a{99}){99}){99}){99}){99}){99}"}) {
        const SRegexpCompilation compilation = CompileRegexp(pattern, false);
        EXPECT_STREQ(compilation.error, "out of memory") << pattern;
    }
    EXPECT_LT(sqlite3_memory_highwater(0) - before, 100'000);
    EXPECT_EQ(sqlite3_memory_used(), before);
}

TEST(RegexpLimitsTest, TheBoundIsExact) {
    const std::uint64_t most = MAX_REGEXP_INSTRUCTIONS - 1; // and ACCEPT
    const std::string fitting = "^a{" + std::to_string(most) + "}";
    const SRegexpCompilation compilation = CompileRegexp(fitting, false);
    ASSERT_NE(compilation.program, nullptr);
    EXPECT_EQ(compilation.program->Size(), MAX_REGEXP_INSTRUCTIONS);
    EXPECT_EQ(MatchRegexp(*compilation.program, "aab"), REGEXP_NO_MATCH);
    EXPECT_STREQ(CompileRegexp(fitting + "b", false).error, "out of memory");
}

TEST(RegexpLimitsTest, ProgramsAroundTheSizeOfTheBitAutomaton) {
    for (const std::size_t length : {62U, 63U, 64U, 65U}) {
        for (const bool anchored : {false, true}) {
            const std::string count = "{" + std::to_string(length) + "}";
            const std::string pattern = (anchored ? "^[a-c]" : "[a-c]") + count + "$";
            const SRegexpCompilation compilation = CompileRegexp(pattern, false);
            ASSERT_NE(compilation.program, nullptr);
            PrepareForManySubjects(*compilation.program);
            const bool fits = length + (anchored ? 0 : 1) <= SRegexpBitAutomaton::MAX_POSITIONS;
            EXPECT_EQ(compilation.program->bitAutomaton != nullptr, fits) << pattern;
            for (const std::size_t subject : {length - 1, length, length + 1}) {
                const bool expected = subject == length || (!anchored && subject > length);
                EXPECT_EQ(MatchRegexp(*compilation.program, std::string(subject, 'b')), expected)
                    << pattern << ' ' << subject;
            }
        }
    }
}

TEST(RegexpLimitsTest, DepthAndLengthCostNoStack) {
    constexpr std::size_t DEPTH = 300'000;
    EXPECT_EQ(Match(Repeat("(", DEPTH) + "a" + Repeat(")", DEPTH), "xa"), REGEXP_MATCH);
    EXPECT_EQ(Match("^" + Repeat("(", DEPTH) + "a" + Repeat(")*", DEPTH) + "$", "aab"),
              REGEXP_NO_MATCH);
    EXPECT_EQ(Match("^" + Repeat("(b|", DEPTH) + "a" + Repeat(")", DEPTH) + "$", "a"),
              REGEXP_MATCH);
    EXPECT_EQ(Match("^a" + Repeat("*+?", DEPTH) + "$", "aaa"), REGEXP_MATCH);
    EXPECT_EQ(Match("^(" + Repeat("a|", DEPTH) + "b)$", "b"), REGEXP_MATCH);
    const SRegexpCompilation unclosed = CompileRegexp(Repeat("(", DEPTH), false);
    EXPECT_STREQ(unclosed.error, "unmatched '('");
}

TEST(RegexpLimitsTest, StepsAreBoundedByCharactersTimesInstructions) {
    // Patterns on which backtracking or repeated searching costs much more.
    const std::string subject = std::string(20'000, 'a') + "b";
    for (const char* pattern : {"^(a*)*$", "(a|a)*c", "((a?){30}){3}c", "(a|aa)+$", ".*.*.*c",
                                "^(a+a+)+c", "(x+x+)+y", "((|a)*|()*)+c", "[ab]{60}\\bc"}) {
        const SRegexpCompilation compilation = CompileRegexp(pattern, false);
        ASSERT_EQ(compilation.error, nullptr) << pattern;
        std::uint64_t steps = 0;
        EXPECT_EQ(MatchRegexpWithSets(*compilation.program, subject, &steps), REGEXP_NO_MATCH)
            << pattern;
        EXPECT_LE(steps, (subject.size() + 1) * compilation.program->Size()) << pattern;
    }
}

TEST(RegexpLimitsTest, InactiveInstructionsCostNothing) {
    // Half a million instructions of which a handful are active at a time.
    const SRegexpCompilation compilation = CompileRegexp("^(a|b){3,100000}c", false);
    ASSERT_EQ(compilation.error, nullptr);
    std::uint64_t steps = 0;
    const std::string subject(50'000, 'a');
    EXPECT_EQ(MatchRegexpWithSets(*compilation.program, subject, &steps), REGEXP_NO_MATCH);
    EXPECT_LE(steps, 10 * subject.size());
}

TEST(RegexpLimitsTest, CharactersBeforeTheLiteralPrefixCostNoSteps) {
    const SRegexpCompilation compilation = CompileRegexp("abc.d", false);
    std::uint64_t steps = 0;
    const std::string subject = std::string(50'000, 'a') + "abcxd";
    EXPECT_EQ(MatchRegexpWithSets(*compilation.program, subject, &steps), REGEXP_MATCH);
    EXPECT_LE(steps, 5 * compilation.program->Size());
}

TEST(RegexpLimitsTest, EveryFailingAllocationIsReported) {
    const std::string pattern = "(x[a-f0-9]+|(b{2,40}|c)*){2}y" + Repeat("(z|\\d)", 60);
    const std::string subject = "xa1bbcy" + Repeat("7z", 30);
    const sqlite3_int64 before = sqlite3_memory_used();
    int failures = 0;
    bool matched = false;
    for (sqlite3_int64 bytes = 1; bytes < 100'000 && !matched; bytes += 200) {
        sqlite3_hard_heap_limit64(sqlite3_memory_used() + bytes);
        const SRegexpCompilation compilation = CompileRegexp(pattern, false);
        if (compilation.program == nullptr) {
            EXPECT_STREQ(compilation.error, "out of memory");
            ++failures;
        } else {
            PrepareForManySubjects(*compilation.program);
            const int result = MatchRegexp(*compilation.program, subject);
            matched = result == REGEXP_MATCH;
            EXPECT_TRUE(matched || result == REGEXP_OUT_OF_MEMORY) << result;
        }
        sqlite3_hard_heap_limit64(0);
    }
    EXPECT_TRUE(matched);
    EXPECT_GT(failures, 5);
    EXPECT_EQ(sqlite3_memory_used(), before);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
