// SPDX-License-Identifier: Apache-2.0
#include "rule_options.h"

#include "command_line.h"

#include <CLI/CLI.hpp>

#include <cmath>

namespace LandscapeValidator {

namespace {

constexpr double kShortestLimit = 0.1;
constexpr double kLongestLimit = 86400;
constexpr char kRuleGroup[] = "Rules";

} // namespace

void AddRuleSourceOptions(CLI::App& command, SRuleSources& sources) {
    Repeatable(
        command.add_option("--rules", sources.ruleFiles, "Add the rules of this file (repeatable)"))
        ->option_text("FILE")
        ->group(kRuleGroup);
    command
        .add_flag_callback(
            "--no-built-in-rules", [&sources] { sources.builtIn = false; },
            "Leave the built-in rules out")
        ->group(kRuleGroup);
}

void AddSchemaOptions(CLI::App& command, SSchemaFiles& files) {
    command.add_option("--schema", files.schema, "XML schema to use instead of the built-in one")
        ->option_text("FILE")
        ->group(kRuleGroup);
    command
        .add_option("--stylesheet", files.stylesheet,
                    "Stylesheet that makes the tables from the schema, instead of the built-in one")
        ->option_text("FILE")
        ->group(kRuleGroup);
}

void AddRuleOptions(CLI::App& command, SRuleOptions& options) {
    SRuleChoice& choice = options.choice;
    Repeatable(command.add_option("--disable-rule", choice.disabled,
                                  "Leave this rule out; \"schema\" is the schema check "
                                  "(repeatable)"))
        ->option_text("ID")
        ->group(kRuleGroup);
    Repeatable(
        command.add_option("--only-rule", choice.only, "Run this rule and no other (repeatable)"))
        ->option_text("ID")
        ->group(kRuleGroup);
    Repeatable(command.add_option("--severity", choice.severities,
                                  "Severity of a rule: error, warning, info (repeatable)"))
        ->option_text("ID=LEVEL")
        ->group(kRuleGroup);
    AddRuleSourceOptions(command, options.sources);
    command
        .add_option_function<double>(
            "--rule-timeout",
            [&options](double seconds) {
                if (std::isnan(seconds)) { // is in no range, and outside of none
                    throw CLI::ValidationError("--rule-timeout", "\"nan\" is not a number");
                }
                options.sources.timeLimit = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            "Longest time that one rule or action of a file may take")
        ->option_text("SECONDS [30]")
        ->default_str("30")
        ->check(CLI::Range(kShortestLimit, kLongestLimit).description(""))
        ->group(kRuleGroup);
    Repeatable(command.add_option("--actions", options.actionFiles,
                                  "Also write what the actions of this file select, as JSON files "
                                  "(repeatable)"))
        ->option_text("FILE")
        ->group(kRuleGroup);
    AddSchemaOptions(command, options.schema);
}

} // namespace LandscapeValidator
