// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <istream>
#include <string>

namespace LandscapeValidator {

enum class Pipes {
    Refused,
    Untried ///< taken without a look: a pipe can be opened once only, and that is its reader's turn
};

/// Why a file that the user named cannot be read; empty when it can.
std::string WhyUnreadable(const std::string& path, Pipes pipes = Pipes::Refused);

/// The rest of a stream; false when that is more than `limit` bytes, as what a device gives may be.
bool ReadAtMost(std::istream& in, std::size_t limit, std::string& text);

} // namespace LandscapeValidator
