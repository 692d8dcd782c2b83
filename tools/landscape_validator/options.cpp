// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>

namespace LandscapeValidator {

namespace {

constexpr char kFooter[] = R"(
Exit codes:
  0  nothing at or above the threshold
  1  findings at or above the threshold (--fail-on)
  2  the job could not be done, or not for every FILE

Examples:
  landscape-validator landscape.xml
  landscape-validator validate -o report --fail-on warning central.xml local.xml
)";

constexpr char kCommand[] = "validate";
constexpr int kMaxBackups = 1000000;

const std::map<std::string, Severity> kThresholds = {{"error", Severity::Error},
                                                     {"warning", Severity::Warning},
                                                     {"info", Severity::Info},
                                                     {"never", Severity::None}};

/// The words for CLI11, and those behind "--", which are files whatever they begin with. The
/// command's name is dropped: it is the default one.
struct SWords {
    explicit SWords(const std::vector<std::string>& arguments) {
        const auto end = std::find(arguments.begin(), arguments.end(), "--");
        options.assign(arguments.begin(), end);
        if (end != arguments.end()) {
            files.assign(end + 1, arguments.end());
        }
        if (!options.empty() && options.front() == kCommand) {
            options.erase(options.begin());
        }
        std::reverse(options.begin(), options.end());
    }

    std::vector<std::string> options; ///< last one first, as CLI11 takes them
    std::vector<std::string> files;
};

void AddOptions(CLI::App& app, SOptions& options, std::string& threshold) {
    app.add_option("FILE", options.files, "Landscape XML files to validate");
    app.add_option("-o,--output", options.outputFolder,
                   "Folder for the database and the report (made when missing)")
        ->option_text("DIR [landscape-report]");
    app.add_option("--fail-on", threshold,
                   "Lowest severity that ends the run with 1: error, warning, info, never")
        ->option_text("LEVEL [error]")
        ->check(CLI::IsMember({"error", "warning", "info", "never"}).description(""));
    app.add_option("--keep-backups", options.keepBackups,
                   "How many earlier databases and summaries stay in DIR")
        ->option_text("N [5]")
        ->check(CLI::Range(0, kMaxBackups).description(""));
    app.add_flag("--json", options.writeJson, "Also write the page's data as JSON files");
    app.add_flag("--open", options.openPage, "Open the report page in the browser");
    app.add_flag("--all", options.showAll, "Print every finding, not the first of each file");
    app.add_option("--config-dir", options.configFolder,
                   "Folder that holds naxfewxmldb/registry.ini, instead of the user's")
        ->option_text("DIR");
}

} // namespace

std::optional<SOptions> ParseCommandLine(const std::vector<std::string>& arguments,
                                         std::ostream& out, std::ostream& err, ExitCode& exitCode) {
    SOptions options;
    std::string threshold = "error";
    CLI::App app("Finds every fault in landscape XML files and explains it.",
                 "landscape-validator [validate]");
    app.set_version_flag("-V,--version", "landscape-validator " LANDSCAPE_VALIDATOR_VERSION);
    app.footer(kFooter);
    AddOptions(app, options, threshold);
    try {
        SWords words(arguments);
        app.parse(words.options);
        options.files.insert(options.files.end(), words.files.begin(), words.files.end());
        if (options.files.empty()) {
            throw CLI::RequiredError("FILE");
        }
        options.failOn = kThresholds.at(threshold);
        return options;
    } catch (const CLI::ParseError& error) {
        const bool asked = app.exit(error, out, err) == 0;
        exitCode = asked ? ExitCode::Clean : ExitCode::Failure;
        return std::nullopt;
    }
}

} // namespace LandscapeValidator
