// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/db_processor.h>

#include <cstdint>

namespace LandscapeValidator {

/// Takes the rules' findings beyond `limit` out of the results, the least severe first and of those
/// the latest, but each rule's first thousand last, and returns their number. Page and formats hold
/// every finding in memory, and a small file can give rise to millions; the database alone would
/// bear them. Of a finding with long texts 200 characters count as one.
std::uint64_t RemoveResultsBeyond(Nax::FrontEnd::XMLDB::CDBProcessor& processor,
                                  std::uint64_t limit);

} // namespace LandscapeValidator
