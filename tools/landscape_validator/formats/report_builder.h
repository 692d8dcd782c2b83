// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "findings.h"
#include "formats/report_model.h"
#include "report.h"

#include <memory>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// What a run hands over at its end. One that was stopped has no outcomes and no findings.
struct SRunOutcome {
    const CFileList& files;
    const std::vector<SFileOutcome>* outcomes = nullptr;
    const SFindings* findings = nullptr; ///< null exactly when the run was stopped
    std::vector<std::shared_ptr<Nax::FrontEnd::XMLDB::IRule>> rules = {};
    std::size_t entries = 0;
    SPageCounts pageCounts = {};
    std::string database = {};
    std::string page = {};
    bool pageWritten = true;    ///< else what stands there tells of an earlier run
    std::string collected = {}; ///< what went into the support archive, for people
    bool schemaChecked = true;
    Severity schemaSeverity = Severity::Error; ///< that violations of the schema count as
    bool builtInRules = true; ///< the rules with ids of the catalogue are those of the catalogue
};

/// Makes the formats' view of a run: violations one by one, files with their status, in a total
/// order that does not depend on the database. `run` must outlive the report. States, counts and
/// the exit code are left to be settled.
SReport BuildReport(const SRunOutcome& run, std::vector<SReportError> errors);

} // namespace LandscapeValidator
