// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "severity.h"

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace LandscapeValidator {

/// How findings are told. In the order in which they are written: the later ones tell of files that
/// could not be written before.
enum class Format { Text, Github, Junit, Sarif, Json };

struct SFormatOutput {
    Format format = Format::Text;
    std::string file; ///< empty: standard output
};

/// What becomes of the findings of a run.
struct SReportOptions {
    std::vector<SFormatOutput> outputs = {{}}; ///< in the order of Format, each once
    Severity minSeverity = Severity::Info;     ///< less severe findings are counted, not told
    std::string baseline;                      ///< file with the known findings; may be empty
    std::string writeBaseline;                 ///< file that gets this run's findings
    bool pruneBaseline = false;                ///< remove entries that no longer occur

    bool IsTextOnStandardOutput() const;
};

/// The options as words, before they are checked together.
struct SReportWords {
    std::vector<std::string> formats;
    std::vector<std::string> outputFiles;
    std::string minSeverity = "info";
    std::string baseline;
    std::string writeBaseline;
    bool pruneBaseline = false;
};

/// Adds the options to a command. `words` must outlive it.
void AddReportOptions(CLI::App& command, SReportWords& words);

/// Checks the words together. Throws CLI::ValidationError, which names the option at fault.
SReportOptions ReadReportOptions(const SReportWords& words);

} // namespace LandscapeValidator
