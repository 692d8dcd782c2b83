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

/// Waits while a backup in `folder` bears the current second, which the next one would replace: a
/// second at most, and only where runs follow each other that fast.
void AwaitBackupName(const std::string& folder);

} // namespace LandscapeValidator
