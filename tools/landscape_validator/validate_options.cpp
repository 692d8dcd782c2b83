// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"
#include "configuration.h"
#include "formats/report_options.h"
#include "include_options.h"
#include "limit_options.h"
#include "options.h"
#include "printable.h"
#include "validate_command.h"

#include <CLI/CLI.hpp>

#include <map>
#include <memory>

namespace LandscapeValidator {

namespace {

constexpr char kValidateExamples[] = R"(
Examples:
  landscape-validator landscape.xml
  landscape-validator -o report --fail-on warning central.xml local.xml
  landscape-validator --remote-includes conf/
  curl -s https://host.example/landscape.xml | landscape-validator -
  landscape-validator --disable-rule 30 --severity 3=error landscape.xml
  landscape-validator --rules site-rules.xml landscape.xml
  landscape-validator -f text --output-file sarif=findings.sarif landscape.xml
  landscape-validator --write-baseline baseline.json landscape.xml
  landscape-validator --baseline baseline.json landscape.xml

What every option is called in a file or in the environment: --show-config; the environment has
LANDSCAPE_VALIDATOR_ before the name, such as LANDSCAPE_VALIDATOR_FAIL_ON=warning.
)";

constexpr int kMaxBackups = 1000000;

const std::map<std::string, Severity> kThresholds = {{"error", Severity::Error},
                                                     {"warning", Severity::Warning},
                                                     {"info", Severity::Info},
                                                     {"never", Severity::None}};

/// The options as words still, where the parser has no type for them.
struct SValidateWords {
    SOptions options;
    SConfigurationOptions configuration;
    std::string failOn = "error";
    SReportWords report;
};

void AddOutputOptions(CLI::App& command, SValidateWords& words) {
    SOptions& options = words.options;
    command
        .add_option("-o,--output", options.outputFolder,
                    "Folder for the database and the report (made when missing)")
        ->option_text("DIR [landscape-report]");
    command
        .add_option("--keep-backups", options.keepBackups,
                    "How many earlier databases and summaries stay in DIR")
        ->option_text("N [5]")
        ->check(CLI::Range(0, kMaxBackups).description(""));
    command.add_flag("--json", options.writeJson, "Also write the page's data as JSON files");
    command.add_flag("--open", options.openPage, "Open the report page in the browser");
    command.add_flag("--collect", options.collect,
                     "Also make the support archive, LandscapeValidation.zip");
    command.add_flag("--all", options.showAll, "Print every finding, not the first of each file");
}

void AddThresholdOptions(CLI::App& command, SValidateWords& words) {
    command
        .add_option("--fail-on", words.failOn,
                    "Lowest severity that ends the run with 1: error, warning, info, never")
        ->option_text("LEVEL [error]")
        ->check(CLI::IsMember({"error", "warning", "info", "never"}).description(""));
}

void AddEnvironmentOptions(CLI::App& command, SValidateWords& words) {
    command
        .add_option("--config-dir", words.options.configFolder,
                    "Folder that holds naxfewxmldb/registry.ini, instead of the user's")
        ->option_text("DIR");
}

/// Names files behind "--" as the command's own, and settles what the command line leaves open.
/// True when the run only shows the outcome, which is then the chosen command. `notes` are lines.
bool Configure(CLI::App& command, CLI::Option& files,
               const std::vector<std::string>& filesBehindDashes,
               const SConfigurationOptions& options, std::string& notes, Command& chosen) {
    files.allow_extra_args(false); // which would make a list of "[a,b]"
    for (const std::string& file : filesBehindDashes) {
        files.add_result(file);
        files.run_callback();
    }
    CConfiguration configuration(command);
    configuration.Apply(options);
    notes = configuration.TellUnknownVariables();
    if (options.show) {
        chosen = [list = configuration.List(), notes](std::ostream& out, std::ostream& err) {
            err << notes;
            return PrintResult(list, out, err) ? ExitCode::Clean : ExitCode::Failure;
        };
    }
    return options.show;
}

} // namespace

void AddValidateCommand(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                        Command& chosen) {
    CLI::App& command = *app.add_subcommand("validate", "Validate landscape files (the default)");
    command.set_version_flag("-V,--version", "landscape-validator " LANDSCAPE_VALIDATOR_VERSION);
    command.footer(std::string(kExitCodeHelp) + kValidateExamples);
    // Lives as long as the callback, which outlives this function.
    const auto words = std::make_shared<SValidateWords>();
    CLI::Option* const files = command.add_option(
        "FILE", words->options.files,
        "Landscape XML files to validate; \"-\" is standard input, a folder means its *.xml files");
    AddInputOptions(command, words->options.inputs);
    AddIncludeOptions(command, words->options.includes);
    AddLimitOptions(command, words->options.limits);
    AddOutputOptions(command, *words);
    AddThresholdOptions(command, *words);
    AddRuleOptions(command, words->options.rules);
    AddReportOptions(command, words->report);
    AddEnvironmentOptions(command, *words);
    CConfiguration::AddOptions(command, words->configuration);
    CConfiguration::AddShowOption(command, words->configuration);
    command.callback([words, filesBehindDashes, &command, files, &chosen] {
        std::string notes;
        if (Configure(command, *files, filesBehindDashes, words->configuration, notes, chosen)) {
            return;
        }
        SOptions options = words->options;
        ReadIncludeRoots(options.includes);
        ReadLimits(options.limits);
        if (options.files.empty()) {
            throw CLI::RequiredError("FILE");
        }
        options.report = ReadReportOptions(words->report);
        options.failOn = kThresholds.at(words->failOn);
        chosen = [options, notes](std::ostream& out, std::ostream& err) {
            err << notes;
            return RunValidate(options, out, err);
        };
    });
}

} // namespace LandscapeValidator
