// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <string>

namespace LandscapeValidator {

enum class Pipes {
    Refused,
    Untried ///< taken without a look: a pipe can be opened once only, and that is its reader's turn
};

/// Why a file that the user named cannot be read; empty when it can.
std::string WhyUnreadable(const std::string& path, Pipes pipes = Pipes::Refused);

/// Reads a whole file; false with the reason when that fails anywhere in it, or when it has more
/// than `limit` bytes, as what a device gives may have.
bool ReadFile(const std::string& path, std::string& content, std::string& reason,
              std::size_t limit = std::numeric_limits<std::size_t>::max());

} // namespace LandscapeValidator
