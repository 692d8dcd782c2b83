// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace LandscapeValidator {

/// Where rules come from.
struct SRuleSources {
    std::vector<std::string> ruleFiles;
    bool builtIn = true;                        ///< with the built-in catalogue
    std::chrono::milliseconds timeLimit{30000}; ///< of one rule from a file
};

/// Which rules run, and as what, in the words of the command line.
struct SRuleChoice {
    std::vector<std::string> disabled;
    std::vector<std::string> only;
    std::vector<std::string> severities; ///< "ID=LEVEL"
};

/// Files in place of the built-in ones; empty names mean those.
struct SSchemaFiles {
    std::string schema;
    std::string stylesheet;
};

/// Everything about the rules of a validation.
struct SRuleOptions {
    SRuleSources sources;
    SRuleChoice choice;
    std::vector<std::string> actionFiles;
    SSchemaFiles schema;
};

/// The target of each must live as long as the command.
void AddRuleSourceOptions(CLI::App& command, SRuleSources& sources);
void AddSchemaOptions(CLI::App& command, SSchemaFiles& files);
void AddRuleOptions(CLI::App& command, SRuleOptions& options);

} // namespace LandscapeValidator
