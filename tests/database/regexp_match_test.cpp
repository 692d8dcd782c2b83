// SPDX-License-Identifier: Apache-2.0
// What patterns mean, case by case.
#include <gtest/gtest.h>

#include <string_view>

#include "regexp_compiler.h"
#include "regexp_matcher.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

using namespace std::string_view_literals;

struct SCase {
    std::string_view pattern;
    std::string_view subject;
    int expected;
};

template <std::size_t N>
void Check(const SCase (&cases)[N], bool foldCase = false) {
    for (const SCase& row : cases) {
        SCOPED_TRACE(testing::Message()
                     << "'" << row.subject << "' REGEXP '" << row.pattern << "'");
        const SRegexpCompilation compilation = CompileRegexp(row.pattern, foldCase);
        ASSERT_EQ(compilation.error, nullptr) << compilation.error;
        EXPECT_EQ(MatchRegexp(*compilation.program, row.subject), row.expected);
        PrepareForManySubjects(*compilation.program);
        EXPECT_EQ(MatchRegexp(*compilation.program, row.subject), row.expected) << "prepared";
    }
}

TEST(RegexpMatchTest, LiteralsAndAnchors) {
    Check({
        {"", "", 1},          {"", "abc", 1},      {"bc", "abcd", 1},   {"bc", "abd", 0},
        {"^bc", "bcd", 1},    {"^bc", "abc", 0},   {"bc$", "abc", 1},   {"bc$", "bcd", 0},
        {"^$", "", 1},        {"^$", "a", 0},      {"$", "a", 1},       {"a$$", "a", 1},
        {"(a$)|b", "ca", 1},  {"(a$)|b", "ab", 1}, {"(a$)|b", "ac", 0}, {"a$|bx", "abx", 1},
        {"(x|y$)z", "yz", 0}, {"^(a$)+", "a", 1},  {"a$b", "ab", 0},    {"b^a", "ba", 0},
        {"x|^a", "ba", 0},    {"x|^a", "ab", 1},   {"(^a)+b", "ab", 1}, {"a(^b|c)", "ab", 0},
        {"^^a", "a", 1},      {"^a|b", "ab", 1},   {"^a|b", "cb", 0},   {"a^*b", "ab", 1},
        {"bc^", "bc", 0},     {"\nb", "a\nb", 1},  {"^b", "a\nb", 0},   {"a$", "a\n", 0},
    });
}

TEST(RegexpMatchTest, Repetitions) {
    Check({
        {"^a*$", "", 1},
        {"^a*$", "aaa", 1},
        {"^a*$", "aab", 0},
        {"^a+$", "", 0},
        {"^a?b", "aab", 0},
        {"^a**$", "aa", 1},
        {"^(ab|c)*$", "abcab", 1},
        {"^(ab|c)*$", "abac", 0},
        {"^a{3}$", "aaa", 1},
        {"^a{3}$", "aaaa", 0},
        {"^a{2,}$", "a", 0},
        {"^a{2,}$", "aaaaa", 1},
        {"^a{0,3}$", "", 1},
        {"^a{0,3}$", "aaa", 1},
        {"^a{0,3}$", "aaaa", 0},
        {"^a{0,}$", "", 1},
        {"^a{0,}$", "aaaa", 1},
        {"^a{0,}$", "b", 0},
        {"^a{,3}$", "", 1},
        {"^a{,3}$", "aaaa", 0},
        {"^a{,}$", "aaaa", 1},
        {"^a{2,0}$", "aaa", 1},
        {"^a{2,0}$", "a", 0},
        {"^a{2}{3}$", "aaaaaa", 1},
        {"^a{2}{3}$", "aaaaa", 0},
        {"^(a{2}|b){2}$", "aab", 1},
        {"^a{1}$", "aa", 0},
        {"()*", "", 1},
        {"^()*a$", "a", 1},
        {"^(|a)*$", "aaa", 1},
        {"^(|a)+b$", "aab", 1},
        {"^((a*)*)*$", "aab", 0},
        {"^((a*)+|b?){2}$", "aabb", 0},
        {"^((a*)+|b?){2,}$", "aabb", 1},
        {"^(){3,}a", "a", 1},
        {"^(){4000000000}a", "a", 1},
        {"^(){1,4000000000}a", "a", 1},
        {"^(^|$)*a", "a", 1},
        {".*", "", 1},
        {"^.*b$", "aaab", 1},
        {"^.*b$", "aaba", 0},
        {"^a.*+b$", "axyb", 1},
        {"^a.*?b$", "axyb", 1},
        {"^a.*{2,3}b$", "axyb", 1},
        {"^(.*a){2}$", "xaya", 1},
        {"^(.*a){2}$", "xay", 0},
        {"^a.b", "ab", 0},
        {"(a|b){1,70000}", "aaa", 1},
        {"(a|b){1,70000}", "c", 0},
        {"^(a|b){3,70000}$", "ab", 0},
    });
}

TEST(RegexpMatchTest, ClassesAndEscapes) {
    Check({
        {"^[abc]$", "b", 1},
        {"[abc]", "d", 0},
        {"^[^abc]$", "d", 1},
        {"[^abc]", "b", 0},
        {"^[^a]$", "", 0},
        {"^[a-c]$", "b", 1},
        {"^[a-]+$", "a-", 1},
        {"^[-a]+$", "a-", 1},
        {"[a-]", "b", 0},
        {"^[]a]+$", "]a", 1},
        {"^[^]a]$", "b", 1},
        {"[^]a]", "]a", 0},
        {"[z-a]", "m", 0},
        {"[^z-a]", "m", 1},
        {"^[a-b-d]+$", "ab-d", 1},
        {"[a-b-d]", "c", 0},
        {"^[--/]+$", "-./", 1},
        {"^[[]$", "[", 1},
        {"^[a^]+$", "^a", 1},
        {"^[:a]+$", ":a", 1},
        {"^[.*$]+$", "$.*", 1},
        {"^[\\]]$", "]", 1},
        {"^[\\x41-\\x43]$", "B", 1},
        {"^[\\d_]+$", "4_2", 1},
        {"[\\d_]", "a", 0},
        {"^[^\\s\\d]$", "a", 1},
        {"[^\\s\\d]", " 1", 0},
        {"^\\w+$", "aZ_9", 1},
        {"\\w", "-\xC3\xA9", 0},
        {"^\\W$", "\xC3\xA9", 1},
        {"^\\d\\D$", "4x", 1},
        {"^\\s+$", " \t\n\v\f\r", 1},
        {"\\S", " \t", 0},
        {"^\\a\\f\\n\\r\\t\\v$", "\a\f\n\r\t\v", 1},
        {"^\\\\\\(\\)\\*\\.\\+\\?\\[\\$\\^\\{\\|\\}\\]$", "\\()*.+?[$^{|}]", 1},
        {"^\\u00e9\\x4A$", "\xC3\xA9J", 1},
        {"^a]}-,$", "a]}-,", 1},
        {"\\.", "a", 0},
    });
}

TEST(RegexpMatchTest, WordBoundaries) {
    Check({
        {"\\bab\\b", "ab", 1},
        {"\\bab\\b", "x ab,y", 1},
        {"\\bab\\b", "xab ab_", 0},
        {"^\\b", "", 0},
        {"\\b", "-", 0},
        {"\\b", "a", 1},
        {"^\\ba", "a", 1},
        {"a\\b$", "a", 1},
        {"a$\\b", "a", 1},
        {"-\\b-", "--", 0},
        {"ab\\bc", "xabc", 0},
        {"ab\\b-c", "xab-c", 1},
        {"(\\b|x)*y", "y", 1},
        {"a\\bb", "ab", 0},
        {"x(\\ba|b)", "xa xb", 1},
    });
}

TEST(RegexpMatchTest, TheSearchSkipsToTheLiteralPrefix) {
    Check({
        {"abc^", "xabc", 0},
        {"a|b", "xxb", 1},
        {"abc*", "xab", 1},
        {"abc?d", "ababd", 1},
        {"(abc)+d", "abcabcd", 1},
        {"aab", "aaab", 1},
        {"abcdefghijklm", "abcdefghijkl abcdefghijklm", 1},
        {"ab{0,2}c", "xac", 1},
        {"abcdefghi\xE2\x82\xAC!", "abcdefghi\xE2\x82\xAC abcdefghi\xE2\x82\xAC!", 1},
        {"a$", "aba", 1},
        {"\xEF\xBF\xBDx", "a\xFFx", 1},
        {"\\ud800", "\xED\xA0\x80", 0},
        {"ab\\b$", "abc ab", 1},
        {"abc", "ab", 0},
    });
}

TEST(RegexpMatchTest, CharactersBeyondAscii) {
    Check({
        {"^...$", "a\xC3\xA9\xF0\x9F\x98\x80", 1},
        {"^[\xC3\xA0-\xC3\xBF]$", "\xC3\xA9", 1},
        {"^[a-\xF0\x9F\x98\x80]$", "\xF0\x9F\x98\x80", 1},
        {"^[a-\xF0\x9F\x98\x80]$", "\xE2\x82\xAC", 1},
        {"[a-\xF0\x9F\x98\x80]", "A", 0},
        {"[a-\xF0\x9F\x98\x80]", "\xF0\x9F\x98\x81", 0},
        {"^[^\xF0\x9F\x98\x80-\xF0\x9F\x98\x82]$", "\xF0\x9F\x98\x83", 1},
        {"[^\xF0\x9F\x98\x80-\xF0\x9F\x98\x82]", "\xF0\x9F\x98\x81", 0},
        {"[x\xF0\x9F\x98\x80-\xF0\x9F\x98\x82y]", "y", 1},
        {"[\xF0\x90\x80\x80-\xF4\x8F\xBF\xBF]", "a\xEF\xBF\xBF", 0},
        {"\xC3\xA9+$", "\xC3\xA9\xC3\xA9", 1},
        {"\xC3", "\xC3\xA9", 0},
    });
}

TEST(RegexpMatchTest, NulCharactersAreOrdinary) {
    Check({
        {"^a.b$", "a\0b"sv, 1},
        {"a$", "a\0b"sv, 0},
        {"b", "a\0b"sv, 1},
        {"^a\\x00b$", "a\0b"sv, 1},
        {"^a\0b$"sv, "a\0b"sv, 1},
        {"a\\x00", "a", 0},
        {"^\\u0000$", "", 0},
        {"[\\x00]", "a", 0},
        {"^[^a]$", "\0"sv, 1},
        {"^[\\x00-\\x1f]$", "\0"sv, 1},
        {"^\\W$", "\0"sv, 1},
        {"a\\b", "a\0"sv, 1},
        {"\\x00$", "ab\0"sv, 1},
        {"a$|\\bx", "a\0-x"sv, 1},
    });
}

TEST(RegexpMatchTest, FoldingConcernsAsciiLettersOnly) {
    Check(
        {
            {"abc", "xABCx", 1},
            {"ABC", "abc", 1},
            {"[A-C]+$", "abC", 1},
            {"[a-c]", "B", 1},
            {"[^a]", "A", 0},
            {"^[a-Z]$", "m", 1},
            {"^\\x41$", "a", 1},
            {"\\D", "123", 0},
            {"\\W", "abC", 0},
            {"\xC3\x89", "\xC3\xA9", 0},
            {"\xC3\x89", "\xC3\x89", 1},
            {"k", "\xE2\x84\xAA", 0},
            {"[A-z]", "_", 1},
            {"[+-Z]", "_", 0},
            {"^[+-Z]$", "z", 1},
            {"[@]", "`", 0},
            {"[[]", "{", 0},
            {"\\bA\\b", "-a-", 1},
        },
        true);
    Check({{"abc", "ABC", 0}, {"[a-c]", "B", 0}});
}

TEST(RegexpMatchTest, MalformedBytesAreReplacementCharacters) {
    struct SBytes {
        std::string_view bytes;
        std::string_view pattern;
    };
    const SBytes cases[] = {
        {"\x80", "^.$"},
        {"\xFF", "^\\ufffd$"},
        {"\xC3", "^\\ufffd$"},
        {"\xC3z", "^\\ufffdz$"},
        {"\xC1\xBF", "^\\ufffd\\ufffd$"},
        {"\xE0\x9F\xBF", "^\\ufffd{3}$"},
        {"\xE2\x82", "^\\ufffd{2}$"},
        {"\xE2\x82z", "^\\ufffd{2}z$"},
        {"\xED\x9F\xBF\xED\xA0\x80", "^\\ud7ff\\ufffd{3}$"},
        {"\xED\xBF\xBF\xEE\x80\x80", "^\\ufffd{3}\\ue000$"},
        {"\xF0\x8F\xBF\xBF", "^\\ufffd{4}$"},
        {"\xF0\x9F\xC3\xA9", "^\\ufffd{2}\\u00e9$"},
        {"\xF4\x90\x80\x80", "^\\ufffd{4}$"},
        {"\xF8\x88\x80\x80\x80", "^\\ufffd{5}$"},
        {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", "^\\u0080\\u07ff\\u0800\\uffff$"},
        {"\xF0\x90\x80\x80", "^[\xF0\x90\x80\x80]$"},
    };
    for (const SBytes& row : cases) {
        Check({{row.pattern, row.bytes, 1}});
        Check({{row.pattern, row.bytes, 1}}, true);
    }
}

TEST(RegexpMatchTest, Errors) {
    struct SError {
        std::string_view pattern;
        std::string_view error;
    };
    const SError cases[] = {
        {"(", "unmatched '('"},
        {"a(b|(c)", "unmatched '('"},
        {"*a", "'*' without operand"},
        {"^*", "'*' without operand"},
        {"a|*", "'*' without operand"},
        {"(*a)", "'*' without operand"},
        {"+", "'+' without operand"},
        {"(a|+)", "'+' without operand"},
        {"?", "'?' without operand"},
        {"a|?", "'?' without operand"},
        {"[", "unclosed '['"},
        {"[]", "unclosed '['"},
        {"[^]", "unclosed '['"},
        {"[a-", "unclosed '['"},
        {"[a-z", "unclosed '['"},
        {"[[:alpha:]]", "POSIX character classes not supported"},
        {"[a[:", "POSIX character classes not supported"},
        {"\\", "unknown \\ escape"},
        {"a\\q", "unknown \\ escape"},
        {"\\-", "unknown \\ escape"},
        {"\\u12g4", "unknown \\ escape"},
        {"\\u12", "unknown \\ escape"},
        {"\\x4", "unknown \\ escape"},
        {"[\\b]", "unknown \\ escape"},
        {"[a-\\d]", "unknown \\ escape"},
        {"[\\", "unknown \\ escape"},
        {"{2}", "'{m,n}' without operand"},
        {"(|{2})", "'{m,n}' without operand"},
        {"a{2", "unmatched '{'"},
        {"a{2,", "unmatched '{'"},
        {"a{2,3", "unmatched '{'"},
        {"a{x}", "unmatched '{'"},
        {"a{ 2}", "unmatched '{'"},
        {"a{3,2}", "n less than m in '{m,n}'"},
        {"a{18446744073709551618,2}", "n less than m in '{m,n}'"},
        {"a{0,0}", "both m and n are zero in '{m,n}'"},
        {"a{0}", "both m and n are zero in '{m,n}'"},
        {"a{}", "both m and n are zero in '{m,n}'"},
        {")", "unrecognized character"},
        {"a)b", "unrecognized character"},
        {"(a))*", "unrecognized character"},
        {"a{2000000000}", "out of memory"},
        {"a{99999999999999999999999}", "out of memory"},
        {"a{4294967296,4294967297}", "out of memory"},
    };
    for (const SError& row : cases) {
        for (const bool foldCase : {false, true}) {
            const SRegexpCompilation compilation = CompileRegexp(row.pattern, foldCase);
            EXPECT_EQ(compilation.program, nullptr) << row.pattern;
            EXPECT_EQ(std::string_view(compilation.error == nullptr ? "" : compilation.error),
                      row.error)
                << row.pattern;
        }
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
