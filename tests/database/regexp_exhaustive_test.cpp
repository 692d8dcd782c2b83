// SPDX-License-Identifier: Apache-2.0
// Every small pattern over every small subject, against a reference that works on the syntax tree.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "regexp_compiler.h"
#include "regexp_matcher.h"
#include "regexp_reference.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

using Testing::CReferenceRegexp;
using Texts = std::vector<std::string>;

/// All concatenations of up to `length` of the parts, the empty one first.
Texts Combine(const Texts& parts, std::size_t length) {
    Texts all = {""};
    std::size_t begin = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::size_t end = all.size();
        for (; begin < end; ++begin) {
            for (const std::string& part : parts) {
                all.push_back(all[begin] + part);
            }
        }
    }
    return all;
}

class CComparison {
public:
    CComparison(Texts subjects, bool foldCase)
        : m_subjects(std::move(subjects)), m_foldCase(foldCase) {}

    void Compare(const std::string& pattern) {
        const CReferenceRegexp reference(pattern, m_foldCase);
        const SRegexpCompilation compilation = CompileRegexp(pattern, m_foldCase);
        const std::string error = compilation.error == nullptr ? "" : compilation.error;
        if (error != reference.Error()) {
            ADD_FAILURE() << pattern << ": \"" << error << "\", not \"" << reference.Error() << '"';
        }
        if (compilation.program == nullptr || !reference.Error().empty()) {
            return;
        }
        ++m_goodPatterns;
        PrepareForManySubjects(*compilation.program);
        for (const std::string& subject : m_subjects) {
            const int expected = reference.Matches(subject) ? REGEXP_MATCH : REGEXP_NO_MATCH;
            m_matches += expected;
            const int result = MatchRegexp(*compilation.program, subject);
            const int setsResult = MatchRegexpWithSets(*compilation.program, subject);
            if (result != expected || setsResult != expected) {
                ADD_FAILURE() << '\'' << subject << "' REGEXP '" << pattern << "' is " << expected
                              << ", not " << result << " or, with sets, " << setsResult;
            }
        }
    }

    int GoodPatterns() const { return m_goodPatterns; }
    int Matches() const { return m_matches; }

private:
    Texts m_subjects;
    bool m_foldCase;
    int m_goodPatterns = 0;
    int m_matches = 0;
};

/// Such ranges may be in order once folded, which the reference does not try.
bool HasReversedRange(const std::string& members) {
    for (std::size_t i = 2; i < members.size(); ++i) {
        if (members[i - 1] == '-' && members[i - 2] > members[i]) {
            return true;
        }
    }
    return false;
}

void CompareAll(const Texts& tokens, std::size_t length, CComparison comparison) {
    for (const std::string& pattern : Combine(tokens, length)) {
        comparison.Compare(pattern);
        if (testing::Test::HasFailure()) {
            return;
        }
    }
    // Guards against a reference that calls everything an error or a match.
    EXPECT_GT(comparison.GoodPatterns(), 500);
    EXPECT_GT(comparison.Matches(), comparison.GoodPatterns());
}

TEST(RegexpExhaustiveTest, OperatorsAndAnchors) {
    const Texts tokens = {"a", "b", "(", ")", "|", "*", "+", "?", ".", "^", "$", "{1,2}"};
    CompareAll(tokens, 5, CComparison(Combine({"a", "b"}, 4), false));
}

TEST(RegexpExhaustiveTest, RepeatedGroups) {
    const Texts tokens = {"(a", "(", ")", "|b", ")*", ")+", "^", "$", "){2,}", "){0,3}", "){2,0}"};
    CompareAll(tokens, 5, CComparison(Combine({"a", "b"}, 4), false));
}

TEST(RegexpExhaustiveTest, WordBoundaries) {
    const Texts tokens = {"a", "\\b", "\\w", "\\W", "(", ")", "|", "*", "^", "$"};
    CompareAll(tokens, 5, CComparison(Combine({"a", "-"}, 4), false));
}

TEST(RegexpExhaustiveTest, Classes) {
    const Texts tokens = {"[", "]", "^", "-", "a", "c", "]*"};
    CompareAll(tokens, 6, CComparison(Combine({"a", "b", "-", "]"}, 2), false));
}

TEST(RegexpExhaustiveTest, FoldedClasses) {
    const Texts tokens = {"[", "]", "^", "-", "@", "A", "Z", "a", "_", "z"};
    CComparison comparison({"@", "A", "M", "Z", "_", "a", "m", "z", "~"}, true);
    for (const std::string& members : Combine(tokens, 4)) {
        if (!HasReversedRange(members)) {
            comparison.Compare("[" + members + "]");
        }
    }
    EXPECT_GT(comparison.GoodPatterns(), 500);
}

TEST(RegexpExhaustiveTest, LongRandomPatterns) {
    const Texts tokens = {"a", "b",    "ab",   "-",   "(",   ")", "(",     ")",    "|",
                          "*", "+",    "?",    ".",   ".*",  "^", "$",     "{2}",  "{3}",
                          "b", "[ab]", "[^a]", "\\b", "\\w", "a", "{0,2}", "{1,}", "(b|-)"};
    std::mt19937 random(20240229);
    const auto pick = [&random](const Texts& texts) { return texts[random() % texts.size()]; };
    Texts subjects;
    for (int i = 0; i < 40; ++i) {
        std::string& subject = subjects.emplace_back();
        for (std::size_t length = random() % 20; subject.size() < length;) {
            subject += pick({"a", "b", "-"});
        }
    }
    CComparison comparison(subjects, false);
    for (int i = 0; i < 20000; ++i) {
        std::string pattern;
        for (std::size_t length = 3 + random() % 15; length > 0; --length) {
            pattern += pick(tokens);
        }
        comparison.Compare(pattern);
    }
    EXPECT_GT(comparison.GoodPatterns(), 1000);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
