// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "element_positions.h"
#include "landscape_tables.h"

#include <map>

namespace LandscapeValidator {

/// Where the entry of a finding begins.
struct SEntryPlace {
    int fileIndex = -1;
    long line = 0;
};

/// Places of findings by their number (`pk`) in the results; findings about no entry are not there.
using FindingPlaces = std::map<long, SEntryPlace>;

/// Finds the entry that each finding of a rule is about, and its line.
///
/// Results name an entry by file and uuid, which several entries may share. Of a built-in rule it
/// is known which table it looks at and which values its message quotes; of any other rule the
/// first table behind FROM is taken for the one it looks at, and the other tables are tried after
/// it. Without `builtInRules` the ids say nothing. Equal findings are given to equal entries in
/// turn. To be called while indexes on the ids are there and before columns of the results are
/// dropped.
FindingPlaces LocateFindings(Nax::FrontEnd::XMLDB::CDBProcessor& processor,
                             const CLandscapeTables& tables, const CElementPositions& positions,
                             bool builtInRules = true);

} // namespace LandscapeValidator
