// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace LandscapeValidator {

/// Removes all but the newest `keep` backups of the database from `folder`. Only files named as
/// the library names them count; their age is the date in the name. Returns the number removed.
int RemoveOldBackups(const std::string& folder, int keep);

} // namespace LandscapeValidator
