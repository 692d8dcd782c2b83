// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "severity.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// What the command line asks for.
struct SOptions {
    std::vector<std::string> files;
    std::string outputFolder = "landscape-report";
    std::string configFolder; ///< replaces the application-data folder when not empty
    int keepBackups = 5;
    Severity failOn = Severity::Error; ///< None: findings never fail the run
    bool showAll = false;
    bool writeJson = false;
    bool openPage = false;
};

/// Reads the command line. Without a value the program ends with `exitCode`: help or version have
/// been written to `out`, or what is wrong to `err`.
std::optional<SOptions> ParseCommandLine(const std::vector<std::string>& arguments,
                                         std::ostream& out, std::ostream& err, ExitCode& exitCode);

} // namespace LandscapeValidator
