// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "file_list.h"
#include "work_folder.h"

#include <ostream>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// What a collection of support files is asked to do.
struct SCollectOptions {
    std::string outputFolder = "landscape-report";
    std::string configFolder;       ///< replaces the application-data folder when not empty
    std::vector<std::string> files; ///< empty: those of the last run
    bool list = false;              ///< print what would go in, and write nothing
};

/// Makes the support archive from the last run in the output folder. What went in goes to `out`,
/// failures to `err`.
ExitCode RunCollect(const SCollectOptions& options, std::ostream& out, std::ostream& err);

/// Makes the support archive of a run that has just ended; the run holds the folder's lock and has
/// no transaction open. What is missing goes to `err`; `failures` tells that there is no archive,
/// or that the database is not in it.
void CollectAfterRun(const std::string& outputFolder, const CWorkFolder& work,
                     const CFileList& files, std::ostream& out, std::ostream& err,
                     std::vector<std::string>& failures);

} // namespace LandscapeValidator
