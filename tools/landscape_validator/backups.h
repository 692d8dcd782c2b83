// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace LandscapeValidator {

/// Removes all but the newest `keep` files named by `pattern` from `folder` and returns their
/// number. In the pattern each "#" stands for a digit, in the order day, month, year (four
/// digits), hour, minute, second: a file's age is the date in its name.
int RemoveOldFiles(const std::string& folder, std::string_view pattern, int keep);

/// The same for backups of the database, as the library names them.
int RemoveOldBackups(const std::string& folder, int keep);

/// Makes way for a new database: an earlier one becomes a backup under the name of this second, or
/// of the next that is free, and is itself at every moment under the one name or the other. A link
/// is left to the library. False, with the reason, when it cannot be kept.
bool MoveDatabaseAside(const std::string& database, std::string& reason);

} // namespace LandscapeValidator
