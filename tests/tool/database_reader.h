// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace LandscapeValidator::Testing {

/// Rows of a query, read by SQLite alone: what is checked goes past the library's own reading.
using Rows = std::vector<std::vector<std::optional<std::string>>>;
Rows ReadRows(const std::string& databasePath, const std::string& sql);

} // namespace LandscapeValidator::Testing
