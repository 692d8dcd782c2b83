// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"
#include "configuration.h"
#include "rules_command.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace LandscapeValidator {

namespace {

constexpr char kRulesExamples[] = R"(
Examples:
  landscape-validator rules list
  landscape-validator rules explain 8
  landscape-validator rules explain 100 --rules site-rules.xml
  landscape-validator rules check site-rules.xml
)";

constexpr char kCheckExamples[] = R"(
Nothing of the files is run. Ids and names must also differ from those of the built-in rules, unless
--no-built-in-rules says that the files are meant to stand alone.

Exit codes:
  0  no faults
  1  faults, each told with file and line
  2  a file cannot be read

Examples:
  landscape-validator rules check site-rules.xml
  landscape-validator rules check --no-built-in-rules our-catalogue.xml our-actions.xml
)";

/// What the words of all three commands fill in.
struct SRulesWords {
    SRuleSources sources;
    SSchemaFiles schema;
    std::string id;
    std::vector<std::string> files;
    SConfigurationOptions configuration;
};

using Words = std::shared_ptr<SRulesWords>;

/// Adds the options that choose the configuration, and what the command does.
void SetRun(CLI::App& command, const Words& words, Command& chosen, const Command& run) {
    CConfiguration::AddOptions(command, words->configuration);
    command.callback([words, run, &command, &chosen] {
        chosen = Configured(command, words->configuration, [&] { return run; });
    });
}

void AddList(CLI::App& rules, const Words& words, Command& chosen) {
    CLI::App& command = *rules.add_subcommand("list", "List the rules: id, severity, name");
    command.footer(kRulesExamples);
    AddRuleSourceOptions(command, words->sources);
    SetRun(command, words, chosen, [words](std::ostream& out, std::ostream& err) {
        return ListRules(words->sources, out, err);
    });
}

void AddExplain(CLI::App& rules, const Words& words, Command& chosen) {
    CLI::App& command = *rules.add_subcommand(
        "explain", "Explain a rule: what it finds, why it matters, how to mend it");
    command.footer(kRulesExamples);
    command.add_option("ID", words->id, "Id of the rule, or \"schema\" for the schema check")
        ->required();
    AddRuleSourceOptions(command, words->sources);
    SetRun(command, words, chosen, [words](std::ostream& out, std::ostream& err) {
        return ExplainRule(words->sources, words->id, out, err);
    });
}

void AddCheck(CLI::App& rules, const Words& words, const std::vector<std::string>& behindDashes,
              Command& chosen) {
    CLI::App& command =
        *rules.add_subcommand("check", "Check files of rules or actions without running them");
    command.footer(kCheckExamples);
    command.add_option("FILE", words->files, "Files of rules or of actions");
    command.add_flag_callback(
        "--no-built-in-rules", [words] { words->sources.builtIn = false; },
        "The rules are meant to stand alone");
    AddSchemaOptions(command, words->schema);
    CConfiguration::AddOptions(command, words->configuration);
    command.callback([words, behindDashes, &command, &chosen] {
        std::vector<std::string> files = words->files;
        files.insert(files.end(), behindDashes.begin(), behindDashes.end());
        if (files.empty()) {
            throw CLI::RequiredError("FILE");
        }
        chosen = Configured(command, words->configuration, [&]() -> Command {
            return [words, files](std::ostream& out, std::ostream& err) {
                return CheckRuleFiles(files, words->sources.builtIn, words->schema, out, err);
            };
        });
    });
}

} // namespace

void AddRulesCommand(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                     Command& chosen) {
    CLI::App& command = *app.add_subcommand("rules", "List, explain and check rules");
    command.require_subcommand(1);
    command.footer(kRulesExamples);
    const auto words = std::make_shared<SRulesWords>();
    AddList(command, words, chosen);
    AddExplain(command, words, chosen);
    AddCheck(command, words, filesBehindDashes, chosen);
}

} // namespace LandscapeValidator
