// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// What is wrong with a file of rules or actions, and where.
struct SFileFault {
    std::string file; ///< empty: no file's, but the command line's
    long line = 0;    ///< 0: the file as a whole
    std::string text;

    /// "file:line: text".
    std::string Describe() const;
};

/// Brings faults into the order of files and lines.
void Sort(std::vector<SFileFault>& faults);

/// One rule or action as its file has it.
struct SRuleElement {
    std::string file;
    long line = 0;
    std::map<std::string, std::string> attributes;

    /// Empty when there is no such attribute.
    const std::string& Get(const std::string& name) const;
};

enum class RuleFileKind { Unknown, Rules, Actions };

struct SRuleFile {
    bool readable = false; ///< false: the one fault says why
    RuleFileKind kind = RuleFileKind::Unknown;
    std::vector<SRuleElement> elements;
    std::vector<SFileFault> faults;
};

/// Reads a file of rules (root `ValidationRules`) or of actions (root `Actions`) and checks each
/// element by itself: its attributes are known, those it needs are there, and their values are of
/// the right form. Elements with faults are left out.
SRuleFile ReadRuleFile(const std::string& path);

} // namespace LandscapeValidator
