// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_fault.h"
#include "xml_source.h"

#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// The fault of a source whose reading has failed.
SXmlFault ReadingFault(const CXmlSource& source);

/// Fills line, position and source text of all faults that have an offset. False when the source
/// can no longer be read; then that is the one fault.
///
/// One more sweep over the source, so the cost is linear in the source and the faults, however
/// long its lines are; a few kilobytes of it are in memory at a time.
bool LocateFaults(CXmlSource& source, std::vector<SXmlFault>& faults);

/// Where the attribute named `name` (as written) begins in a start tag's text; npos when it is not
/// there. `tag` begins with '<'.
std::size_t FindAttributeInTag(std::string_view tag, std::string_view name);

} // namespace Nax::FrontEnd::XMLDB
