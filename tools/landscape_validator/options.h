// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "formats/report_options.h"
#include "severity.h"

#include <string>
#include <vector>

namespace LandscapeValidator {

/// What a validation is asked to do.
struct SOptions {
    std::vector<std::string> files;
    std::string outputFolder = "landscape-report";
    std::string configFolder; ///< replaces the application-data folder when not empty
    int keepBackups = 5;
    Severity failOn = Severity::Error; ///< None: findings never fail the run
    bool showAll = false;
    bool writeJson = false;
    bool openPage = false;
    SReportOptions report;
};

} // namespace LandscapeValidator
