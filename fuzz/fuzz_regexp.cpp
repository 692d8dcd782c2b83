// SPDX-License-Identifier: Apache-2.0
// Patterns and subjects: the matcher, its two ways, and the reference agree, in bounded steps.
#include "fuzz_support.h"

#include "regexp_compiler.h"
#include "regexp_matcher.h"
#include "regexp_reference.h"

#include <algorithm>
#include <cctype>

namespace {

using namespace Nax::FrontEnd::XMLDB;
using Fuzzing::Require;

constexpr std::size_t kReferencePattern = 64;
constexpr std::size_t kReferenceSubject = 62;

bool IsQuantifier(char c) {
    return c == '*' || c == '+' || c == '?' || c == '{' || c == '}';
}

/// The reference counts as far as the counts say, and goes through an operand at least twice for
/// each quantifier around it, so the product of both bounds its time.
bool IsQuickForReference(std::string_view pattern) {
    constexpr std::uint64_t kMost = 2000;
    std::uint64_t product = 1;
    std::uint64_t number = 0;
    for (std::size_t at = 0; at < pattern.size() && product <= kMost && number <= kMost; ++at) {
        const char c = pattern[at];
        if (std::isdigit(static_cast<unsigned char>(c)) != 0) {
            number = number * 10 + static_cast<std::uint64_t>(c - '0');
            continue;
        }
        product *= std::max<std::uint64_t>(number, 1);
        number = 0;
        const char before = at == 0 ? '\0' : pattern[at - 1];
        product *= IsQuantifier(c) && (before == ')' || IsQuantifier(before)) ? 2 : 1;
    }
    return product <= kMost && number <= kMost;
}

/// What the reference knows: ASCII, of escapes \b, \w and \W outside of classes, and no range in
/// reverse order where case is folded.
bool IsKnownToReference(std::string_view pattern, std::string_view subject, bool foldCase) {
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (pattern.size() > kReferencePattern || subject.size() > kReferenceSubject ||
        !std::all_of(pattern.begin(), pattern.end(), isAscii) ||
        !std::all_of(subject.begin(), subject.end(), isAscii) || !IsQuickForReference(pattern) ||
        pattern.find("[:") != std::string_view::npos) {
        return false;
    }
    const bool hasClass = pattern.find('[') != std::string_view::npos;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] == '\\') {
            ++at;
            if (hasClass || at == pattern.size() ||
                std::string_view("bwW").find(pattern[at]) == std::string_view::npos) {
                return false;
            }
        } else if (foldCase && hasClass && at + 2 < pattern.size() && pattern[at + 1] == '-' &&
                   pattern[at] > pattern[at + 2]) {
            return false;
        }
    }
    return true;
}

void CompareWithReference(const std::string& pattern, std::string_view subject, bool foldCase,
                          const std::string& error, int result) {
    const Testing::CReferenceRegexp reference(pattern, foldCase);
    Require(error == reference.Error(), "the reference gives the same error",
            error + " / " + reference.Error());
    if (error.empty()) {
        Require((result == REGEXP_MATCH) == reference.Matches(subject),
                "the reference gives the same result", pattern);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostSteps = 4'000'000;
    Fuzzing::CPieces pieces(data, size);
    const bool foldCase = (pieces.Byte() & 1U) != 0;
    const std::size_t length = pieces.Byte();
    const std::string pattern(pieces.Rest().substr(0, length));
    const std::string_view subject = pieces.Rest().substr(pattern.size());
    const SRegexpCompilation compilation = CompileRegexp(pattern, foldCase);
    const std::string error = compilation.error == nullptr ? "" : compilation.error;
    Require((compilation.program == nullptr) == !error.empty(), "either a program or an error");
    int result = REGEXP_NO_MATCH;
    if (compilation.program != nullptr) {
        SRegexpProgram& program = *compilation.program;
        Require(program.Size() <= MAX_REGEXP_INSTRUCTIONS, "programs are bounded");
        if ((subject.size() + 1) * program.Size() > kMostSteps) {
            return 0;
        }
        result = MatchRegexp(program, subject);
        std::uint64_t steps = 0;
        const int withSets = MatchRegexpWithSets(program, subject, &steps);
        PrepareForManySubjects(program);
        const int prepared = MatchRegexp(program, subject);
        Require(result == withSets && result == prepared, "all ways of matching agree", pattern);
        Require(result != REGEXP_OUT_OF_MEMORY, "memory suffices");
        Require(steps <= (subject.size() + 1) * program.Size(), "steps are bounded", pattern);
    }
    if (IsKnownToReference(pattern, subject, foldCase)) {
        CompareWithReference(pattern, subject, foldCase, error, result);
    }
    return 0;
}
