// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"
#include "contains.h"
#include "printable.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

namespace LandscapeValidator {

namespace {

constexpr std::array<std::string_view, 4> kCommands = {"validate", "collect", "rules", "schema"};
constexpr std::array<std::string_view, 4> kOwnOptions = {"-h", "--help", "-V", "--version"};

constexpr char kDefault[] = R"(
A file or an option as the first word means "validate".
)";

constexpr char kExamples[] = R"(
Examples:
  landscape-validator landscape.xml
  landscape-validator validate -o report --fail-on warning central.xml local.xml
  landscape-validator rules explain 8

"landscape-validator COMMAND --help" tells more of each command.
)";

/// The words for CLI11, and those behind "--". Validating is the default command.
struct SWords {
    explicit SWords(const std::vector<std::string>& arguments) {
        const auto end = std::find(arguments.begin(), arguments.end(), "--");
        words.assign(arguments.begin(), end);
        if (end != arguments.end()) {
            files.assign(end + 1, arguments.end());
        }
        if (words.empty() ||
            (!Contains(kCommands, words.front()) && !Contains(kOwnOptions, words.front()))) {
            words.insert(words.begin(), "validate");
        }
        std::reverse(words.begin(), words.end());
    }

    std::vector<std::string> words; ///< last one first, as CLI11 takes them
    std::vector<std::string> files;
};

/// The option of that name, of any command; null when there is none.
const CLI::Option* FindOption(const CLI::App& app, const std::string& name) {
    const CLI::Option* option = app.get_option_no_throw(name);
    for (const CLI::App* command : app.get_subcommands({})) {
        option = option == nullptr ? FindOption(*command, name) : option;
    }
    return option;
}

/// True for the name of an option behind which a value stands.
bool TakesValue(const CLI::App& app, const std::string& name) {
    const CLI::Option* const option = FindOption(app, name);
    return option != nullptr && option->get_items_expected_max() > 0;
}

/// For "--output=" CLI11 takes the next word, which is a FILE; a script has left something empty.
void RefuseEmptyValues(const CLI::App& app, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        const std::string name = word.substr(0, word.find('='));
        if (name.size() + 1 == word.size() && name.starts_with("--") &&
            FindOption(app, name) != nullptr) {
            throw CLI::ValidationError(name, "the value is empty");
        }
    }
}

/// CLI11 takes a FILE "[a,b]" for a list of two; with a folder in front it is the name that it is.
void KeepNamesInBrackets(const CLI::App& app, std::vector<std::string>& words) {
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isValue = index + 1 < words.size() && words[index + 1].starts_with('-') &&
                             TakesValue(app, words[index + 1]);
        if (words[index].starts_with('[') && words[index].ends_with(']') && !isValue) {
            words[index].insert(0, "./");
        }
    }
}

/// The options of the command that most people want, for the program's own help.
std::string OptionsOf(const CLI::App& command) {
    const CLI::Formatter formatter;
    return "Command \"" + command.get_name() +
           "\":" + formatter.make_groups(&command, CLI::AppFormatMode::Normal);
}

} // namespace

CLI::Option* Repeatable(CLI::Option* option) {
    return option->allow_extra_args(false)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void DefineCommands(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                    Command& chosen) {
    app.name("landscape-validator");
    app.description("Finds every fault in landscape XML files and explains it.");
    app.set_version_flag("-V,--version", "landscape-validator " LANDSCAPE_VALIDATOR_VERSION);
    app.require_subcommand(1);
    AddValidateCommand(app, filesBehindDashes, chosen);
    AddCollectCommand(app, filesBehindDashes, chosen);
    AddRulesCommand(app, filesBehindDashes, chosen);
    AddSchemaCommand(app, chosen);
    app.footer([&app] {
        return OptionsOf(*app.get_subcommand("validate")) + kDefault + kExitCodeHelp + kExamples;
    });
}

Command ParseCommandLine(const std::vector<std::string>& arguments, std::ostream& out,
                         std::ostream& err, ExitCode& exitCode) {
    Command chosen;
    const SWords words(arguments);
    CLI::App app;
    DefineCommands(app, words.files, chosen);
    try {
        std::vector<std::string> remaining = words.words;
        RefuseEmptyValues(app, remaining);
        KeepNamesInBrackets(app, remaining);
        app.parse(remaining);
        return chosen;
    } catch (const CLI::ParseError& error) {
        // Says what the words were, and a shell's pattern makes words of file names.
        std::ostringstream said;
        std::ostringstream help;
        const bool asked = app.exit(error, help, said) == 0 && PrintResult(help.str(), out, err);
        err << PrintableLines(said.str());
        exitCode = asked ? ExitCode::Clean : ExitCode::Failure;
        return {};
    }
}

} // namespace LandscapeValidator
