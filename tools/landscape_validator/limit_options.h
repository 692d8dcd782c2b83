// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/xml_limits.h>

#include <cstdint>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace LandscapeValidator {

/// How large the input of a run may be.
struct SRunLimits {
    Nax::FrontEnd::XMLDB::SXmlLimits xml;
    std::uint64_t files = 10'000;     ///< of one run, included ones among them
    std::uint64_t findings = 200'000; ///< of the rules in one run
    std::vector<std::string> words;   ///< as given, "NAME=NUMBER"
};

/// "--limit files=NUMBER raises it."
std::string LimitAdvice(const std::string& name);

/// Adds --limit, which fills `limits.words`.
void AddLimitOptions(CLI::App& command, SRunLimits& limits);
/// Turns the words, which have been checked, into limits.
void ReadLimits(SRunLimits& limits);

} // namespace LandscapeValidator
