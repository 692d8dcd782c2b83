// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "formats/report_options.h"
#include "include_resolver.h"
#include "input_files.h"
#include "limit_options.h"
#include "rule_options.h"
#include "severity.h"

#include <string>
#include <vector>

namespace LandscapeValidator {

/// What a validation is asked to do.
struct SOptions {
    std::vector<std::string> files;
    SInputOptions inputs;
    SIncludeOptions includes;
    SRunLimits limits;
    std::string outputFolder = "landscape-report";
    std::string configFolder; ///< replaces the application-data folder when not empty
    SRuleOptions rules;
    int keepBackups = 5;
    Severity failOn = Severity::Error; ///< None: findings never fail the run
    bool showAll = false;
    bool writeJson = false;
    bool openPage = false;
    bool collect = false; ///< also make the support archive
    SReportOptions report;
};

} // namespace LandscapeValidator
