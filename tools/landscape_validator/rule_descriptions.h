// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

namespace LandscapeValidator {

/// A text for people, once as it is and once with its code marked.
struct SRuleText {
    std::string plain;
    std::string markdown;
};

/// What a built-in rule means to the person who mends the landscape.
struct SRuleDescription {
    SRuleText finds;
    SRuleText matters;
    std::string example; ///< XML, several lines
    SRuleText mend;
};

/// The built-in explanations of rules, by rule id; the schema check has the id -1.
///
/// Parsed once, in the constructor; immutable afterwards, so any thread may read. Empty when the
/// resource cannot be read.
class CRuleDescriptions {
public:
    CRuleDescriptions();

    /// Null for a rule without an explanation, such as one from a file of the user's.
    const SRuleDescription* Find(int ruleId) const;

private:
    std::map<int, SRuleDescription> m_descriptions;
};

} // namespace LandscapeValidator
