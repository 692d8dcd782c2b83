// SPDX-License-Identifier: Apache-2.0
// Baseline files: a message with a cause, or a baseline that is the same when written and read.
#include "fuzz_support.h"

#include "formats/baseline.h"
#include "formats/text_encoding.h"

#include <algorithm>
#include <tuple>

namespace {

using namespace LandscapeValidator;
using Fuzzing::Require;

/// Everything in a baseline, without its order.
auto ContentOf(const SBaseline& baseline) {
    std::vector<std::tuple<int, std::string, std::string, std::string, std::size_t>> findings;
    for (const SBaselineEntry& entry : baseline.findings) {
        findings.emplace_back(entry.rule, entry.file, entry.uuid, entry.text, entry.count);
    }
    using Optional = std::optional<std::string>;
    std::vector<std::tuple<int, Optional, Optional, Optional, std::string>> suppressions;
    for (const SSuppression& entry : baseline.suppressions) {
        suppressions.emplace_back(entry.rule, entry.file, entry.uuid, entry.text, entry.reason);
    }
    std::sort(findings.begin(), findings.end());
    std::sort(suppressions.begin(), suppressions.end());
    return std::pair(findings, suppressions);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzzing::CScratch scratch;
    const std::string path =
        scratch.Write("read.json", {reinterpret_cast<const char*>(data), size});
    SBaseline baseline;
    std::string reason;
    if (!ReadBaseline(path, baseline, reason)) {
        Require(!reason.empty() && reason == ValidUtf8(reason), "a reason in UTF-8", reason);
        return 0;
    }
    Require(reason.empty(), "no reason without a failure", reason);
    const std::string first = scratch.Path("first.json");
    Require(WriteBaseline(first, baseline, reason), "what was read can be written", reason);
    SBaseline again;
    Require(ReadBaseline(first, again, reason), "what was written can be read", reason);
    Require(ContentOf(baseline) == ContentOf(again), "it holds the same", Fuzzing::ReadFile(first));
    const std::string second = scratch.Path("second.json");
    Require(WriteBaseline(second, again, reason), "it can be written again", reason);
    Require(Fuzzing::ReadFile(first) == Fuzzing::ReadFile(second), "it is the same file again");
    return 0;
}
