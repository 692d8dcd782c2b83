// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <map>

namespace LandscapeValidator {

namespace {

constexpr char kExamples[] = R"(
Exit codes:
  0  nothing at or above the threshold
  1  findings at or above the threshold (--fail-on)
  2  the job could not be done, or not for every FILE

Examples:
  landscape-validator landscape.xml
  landscape-validator validate -o report --fail-on warning central.xml local.xml
)";

// The first argument decides: anything that is no command is the beginning of the default one.
std::vector<std::string> WithCommand(std::vector<std::string> arguments) {
    static constexpr std::array<std::string_view, 5> kWords = {"validate", "-h", "--help",
                                                               "--version", "-V"};
    const bool known = !arguments.empty() &&
                       std::find(kWords.begin(), kWords.end(), arguments.front()) != kWords.end();
    if (!known && !arguments.empty()) {
        arguments.insert(arguments.begin(), "validate");
    }
    return arguments;
}

void AddValidateOptions(CLI::App& command, SOptions& options) {
    static const std::map<std::string, Severity> kThresholds = {{"error", Severity::Error},
                                                                {"warning", Severity::Warning},
                                                                {"info", Severity::Info},
                                                                {"never", Severity::None}};
    command.add_option("FILE", options.files, "Landscape XML files to validate")->required();
    command
        .add_option("-o,--output", options.outputFolder,
                    "Folder for the database and the report (made when missing)")
        ->option_text("DIR [landscape-report]");
    command
        .add_option("--fail-on", options.failOn,
                    "Lowest severity that ends the run with 1: error, warning, info, never")
        ->option_text("LEVEL [error]")
        ->transform(CLI::CheckedTransformer(kThresholds).description(""));
    command
        .add_option("--keep-backups", options.keepBackups,
                    "How many earlier databases and summaries stay in DIR")
        ->option_text("N [5]")
        ->check(CLI::NonNegativeNumber.description(""));
    command.add_flag("--json", options.writeJson, "Also write the page's data as JSON files");
    command.add_flag("--open", options.openPage, "Open the report page in the browser");
    command.add_flag("--all", options.showAll, "Print every finding, not the first of each file");
    command
        .add_option("--config-dir", options.configFolder,
                    "Folder that holds naxfewxmldb/registry.ini, instead of the user's")
        ->option_text("DIR");
}

} // namespace

std::optional<SOptions> ParseCommandLine(const std::vector<std::string>& arguments,
                                         std::ostream& out, std::ostream& err, ExitCode& exitCode) {
    SOptions options;
    CLI::App app("Finds every fault in landscape XML files and explains it.",
                 "landscape-validator");
    app.set_version_flag("-V,--version", "landscape-validator " LANDSCAPE_VALIDATOR_VERSION);
    app.footer(kExamples);
    app.require_subcommand(1);
    CLI::App* validate =
        app.add_subcommand("validate", "Validate landscape files (the default command)");
    validate->footer(kExamples);
    AddValidateOptions(*validate, options);
    try {
        std::vector<std::string> words = WithCommand(arguments);
        std::reverse(words.begin(), words.end());
        app.parse(words);
        return options;
    } catch (const CLI::ParseError& error) {
        const bool asked = app.exit(error, out, err) == 0;
        exitCode = asked ? ExitCode::Clean : ExitCode::Failure;
        return std::nullopt;
    }
}

} // namespace LandscapeValidator
