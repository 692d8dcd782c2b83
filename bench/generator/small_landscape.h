// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "landscape_model.h"

namespace Nax::FrontEnd::XMLDB::Bench {

/// A small landscape (5 to 60 entries in 1 to 3 files) in which nearly everything is wrong: uuids
/// and references come from a pool so small that they collide and miss within and across kinds and
/// files, and every text may be absent, empty, or full of what a loader could trip over (quotes,
/// semicolons, record markers, placeholders, line ends, rare characters). The files are
/// well-formed; few are valid. The same seed gives the same landscape everywhere.
SLandscapeModel GenerateSmallLandscape(std::uint64_t seed);

} // namespace Nax::FrontEnd::XMLDB::Bench
