// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/db_processor.h>

namespace Nax::FrontEnd::XMLDB {

/// Texts of modes and operations in trace lines; "Unknown" for every other value. Operation 17
/// has no text of its own and reads "Unknown" too.
const char* DBModeName(DBMode mode) noexcept;
const char* DBOperationName(DBOperations operation) noexcept;

} // namespace Nax::FrontEnd::XMLDB
