// SPDX-License-Identifier: Apache-2.0
#include "formats/report_options.h"

#include "command_line.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

constexpr char kFormatNames[] = "text, json, sarif, junit, github";

const std::map<std::string, Format> kFormats = {{"text", Format::Text},
                                                {"json", Format::Json},
                                                {"sarif", Format::Sarif},
                                                {"junit", Format::Junit},
                                                {"github", Format::Github}};

const std::map<std::string, Severity> kSeverities = {
    {"error", Severity::Error}, {"warning", Severity::Warning}, {"info", Severity::Info}};

/// Empty when it is one.
std::string WhyNoFormat(const std::string& name) {
    return kFormats.contains(name) ? std::string()
                                   : "'" + name + "' is no format; there are " + kFormatNames;
}

std::string WhyNoOutputFile(const std::string& word) {
    const std::size_t equals = word.find('=');
    return equals == std::string::npos || equals + 1 == word.size()
               ? "'" + word + "' is not of the form FORMAT=FILE"
               : WhyNoFormat(word.substr(0, equals));
}

[[noreturn]] void Refuse(const std::string& option, const std::string& why) {
    throw CLI::ValidationError(option, why);
}

/// The file of each selected format; empty for standard output.
using Selection = std::map<Format, std::string>;

Selection ReadOutputFiles(const std::vector<std::string>& words) {
    constexpr char kOption[] = "--output-file";
    Selection selection;
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        std::string file = word.substr(equals + 1);
        const Format format = kFormats.at(word.substr(0, equals));
        if (!selection.emplace(format, file == "-" ? "" : file).second) {
            Refuse(kOption, "a second file for " + word.substr(0, equals) + ": '" + file + "'");
        }
    }
    return selection;
}

void CheckStandardOutput(const Selection& selection) {
    std::optional<std::string> first;
    for (const auto& [name, format] : kFormats) {
        const auto found = selection.find(format);
        if (found == selection.end() || !found->second.empty()) {
            continue;
        }
        if (first) {
            Refuse("--format",
                   fmt::format("{0} and {1} cannot both go to standard output; give one a "
                               "file with --output-file {1}=FILE",
                               *first, name));
        }
        first = name;
    }
}

/// The same for all names of a file, links included, whether or not it is there.
fs::path Identity(const std::string& file) {
    std::error_code error;
    const fs::path absolute = fs::absolute(file, error);
    const fs::path real = fs::weakly_canonical(absolute, error);
    return error ? absolute.lexically_normal() : real;
}

/// No file may be written twice by one run.
void CheckFiles(const Selection& selection, const std::string& writeBaseline,
                const std::string& baseline) {
    std::set<fs::path> taken;
    const auto take = [&taken](const std::string& option, const std::string& file) {
        if (!file.empty() && !taken.insert(Identity(file)).second) {
            Refuse(option, "'" + file + "' is named twice");
        }
    };
    take("--baseline", baseline);
    if (baseline.empty() || Identity(writeBaseline) != Identity(baseline)) {
        take("--write-baseline", writeBaseline);
    }
    for (const auto& [format, file] : selection) {
        std::error_code error;
        const fs::file_status status = fs::status(file, error);
        // What stands for a device, such as /dev/null, may be named any number of times.
        if (!fs::exists(status) || fs::is_regular_file(status)) {
            take("--output-file", file);
        }
    }
}

} // namespace

bool SReportOptions::IsTextOnStandardOutput() const {
    return outputs.front().format == Format::Text && outputs.front().file.empty();
}

void AddReportOptions(CLI::App& command, SReportWords& words) {
    Repeatable(command.add_option("-f,--format", words.formats,
                                  "How findings are told: text, json, sarif, junit or github; may "
                                  "be repeated, all but one with a file"))
        ->option_text("FORMAT [text]")
        ->check(CLI::Validator([](std::string& name) { return WhyNoFormat(name); }, ""));
    Repeatable(command.add_option("--output-file", words.outputFiles,
                                  "File for a format, which this also selects; may be repeated"))
        ->option_text("FORMAT=FILE")
        ->check(CLI::Validator([](std::string& word) { return WhyNoOutputFile(word); }, ""));
    command
        .add_option("--min-severity", words.minSeverity,
                    "Tell only findings of this severity or worse: error, warning, info; the exit "
                    "code stays the same")
        ->option_text("LEVEL [info]")
        ->check(CLI::IsMember({"error", "warning", "info"}).description(""));
    command
        .add_option("--baseline", words.baseline,
                    "File with known findings, which neither fail the run nor are shown")
        ->option_text("FILE");
    command
        .add_option("--write-baseline", words.writeBaseline,
                    "Write this run's findings as a baseline")
        ->option_text("FILE");
    command.add_flag("--prune-baseline", words.pruneBaseline,
                     "Remove entries that no longer occur from the --baseline file");
}

SReportOptions ReadReportOptions(const SReportWords& words) {
    Selection selection = ReadOutputFiles(words.outputFiles);
    for (const std::string& name : words.formats) {
        selection.emplace(kFormats.at(name), "");
    }
    if (selection.empty()) {
        selection.emplace(Format::Text, "");
    }
    CheckStandardOutput(selection);
    CheckFiles(selection, words.writeBaseline, words.baseline);
    if (words.pruneBaseline && words.baseline.empty()) {
        Refuse("--prune-baseline", "it needs --baseline FILE");
    }
    SReportOptions options;
    options.outputs.clear();
    for (const auto& [format, file] : selection) {
        options.outputs.push_back({format, file});
    }
    options.minSeverity = kSeverities.at(words.minSeverity);
    options.baseline = words.baseline;
    options.writeBaseline = words.writeBaseline;
    options.pruneBaseline = words.pruneBaseline;
    return options;
}

} // namespace LandscapeValidator
