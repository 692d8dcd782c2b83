// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

namespace Nax::FrontEnd::XMLDB {

/// Outcome of a rule or of a schema check, stored as decimal text in the result tables. The
/// numbers are part of the database format and of every report; never renumber.
enum ResultCodes : int {
    ValidationFailed = 0,
    ValidationPassed = 1,
    RuntimeError = 2,
    ValidationAgainstXSDFailed = 3,
    ValidationAgainstXSDPassed = 4,
    ValidationWarning = 5,
    ValidationInfo = 6,
};

/// The code's text as table `ResultID` holds it; "UNKNOWN" for any other value. Never null.
NAXFEWXMLDB_EXPORT const char* ResultCodeName(ResultCodes code) noexcept;

} // namespace Nax::FrontEnd::XMLDB
