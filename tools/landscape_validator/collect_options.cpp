// SPDX-License-Identifier: Apache-2.0
#include "collect_command.h"
#include "command_line.h"
#include "configuration.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace LandscapeValidator {

namespace {

constexpr char kCollectExamples[] = R"(
The archive holds the database, the landscape files, the launcher's configuration files and registry
settings. They name hosts and may name people: look at --list before you send it.

Exit codes:
  0  the archive was made, or listed
  2  it was not, or a FILE or the database could not be put in

Examples:
  landscape-validator collect -o report --list
  landscape-validator collect -o report
)";

} // namespace

void AddCollectCommand(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                       Command& chosen) {
    CLI::App& command =
        *app.add_subcommand("collect", "Collect what support needs into LandscapeValidation.zip");
    command.footer(kCollectExamples);
    // Lives as long as the callback, which outlives this function.
    const auto words = std::make_shared<SCollectOptions>();
    command.add_option("FILE", words->files,
                       "Landscape XML files, instead of those of the last run");
    command
        .add_option("-o,--output", words->outputFolder,
                    "Folder of the last run, where the archive is made")
        ->option_text("DIR [landscape-report]");
    command.add_flag("--list", words->list, "Print what would go in, and write nothing");
    command
        .add_option("--config-dir", words->configFolder,
                    "Folder that holds the launcher's configuration, instead of the user's")
        ->option_text("DIR");
    const auto configuration = std::make_shared<SConfigurationOptions>();
    CConfiguration::AddOptions(command, *configuration);
    command.callback([words, configuration, filesBehindDashes, &command, &chosen] {
        chosen = Configured(command, *configuration, [&]() -> Command {
            SCollectOptions options = *words;
            options.files.insert(options.files.end(), filesBehindDashes.begin(),
                                 filesBehindDashes.end());
            return [options](std::ostream& out, std::ostream& err) {
                return RunCollect(options, out, err);
            };
        });
    });
}

} // namespace LandscapeValidator
