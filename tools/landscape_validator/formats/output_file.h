// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace LandscapeValidator {

/// Writes a file as a whole or not at all: under a temporary name beside it, renamed when complete,
/// with the permissions of the file that it replaces. Through a symbolic link its target is
/// replaced. A device or a pipe is written into. On failure `reason` says why, the earlier file is
/// as it was, and no temporary file is left.
bool WriteWholeFile(const std::string& path, const std::function<void(std::ostream&)>& write,
                    std::string& reason);

} // namespace LandscapeValidator
