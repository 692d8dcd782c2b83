// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/support_files.h>

#include <ostream>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Prints, under `heading`, the files that are in the archive (or would be), those that were not
/// found, and those that were left out for another reason. `missing` tells what was not looked
/// for.
void PrintSupportFiles(const Nax::FrontEnd::XMLDB::SSupportReport& report,
                       const std::string& heading, const std::vector<std::string>& missing,
                       std::ostream& out);

/// Prints which archives were removed for their age.
void PrintRemovedArchives(const Nax::FrontEnd::XMLDB::SSupportReport& report, std::ostream& out);

/// Prints where a finished archive is, and which older ones were removed.
void PrintSupportArchive(const Nax::FrontEnd::XMLDB::SSupportReport& report, std::ostream& out);

} // namespace LandscapeValidator
