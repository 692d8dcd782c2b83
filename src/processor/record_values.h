// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// Turns a record's tagged values into the value list of its INSERT.
///
/// `text` is the record text without its framing characters. For each column but `file_id` and
/// the one without a name, in order, and for "data" once more at the end: every occurrence of the
/// marker "f_", column, ":" is deleted, and where there is none "''," goes in front of the list.
///
/// Deleting marker by marker walks the text once per column, which for the 62 columns of a service
/// costs more than inserting the row. So the markers are first found in one walk, and deleted
/// together when that provably gives the same text: no two of them overlap, and none stands behind
/// a character that could become part of another marker when the two sides meet. Anything else
/// takes the literal way.
std::string MakeValueList(std::string_view text, const std::vector<std::string>& columns);

/// The literal way, marker by marker.
std::string MakeValueListStepwise(std::string text, const std::vector<std::string>& columns);

} // namespace Nax::FrontEnd::XMLDB
