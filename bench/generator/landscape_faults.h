// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "landscape_model.h"
#include "landscape_plan.h"

namespace Nax::FrontEnd::XMLDB::Bench {

/// Damages a sound entry. The ordinal counts the faults within a kind of entry and chooses among
/// the faults that the kind can have, each in its turn.
void BreakEntry(const CLandscapePlan& plan, SModelEntry& entry, std::size_t number,
                std::size_t ordinal, CSplitMix& random);

/// Whether the fault of this ordinal takes a node out of its workspace, which is a matter of where
/// the node is written and not of its attributes.
bool TearsOut(std::size_t ordinal);

} // namespace Nax::FrontEnd::XMLDB::Bench
