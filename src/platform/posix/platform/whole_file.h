// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files that are written as a whole or not at all. Built with the rest of what only a program
// needs.
#include <functional>
#include <ostream>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// Writes a file as a whole or not at all: under a name of its own beside it ("<name>.", eight hex
/// digits, ".part"), which takes the place of `path` when the content has reached the disk. The new
/// file has the rights of the one that it replaces. Through a symbolic link its target is replaced;
/// a device or a pipe is written into. What killed writers of the same file have left is removed,
/// what living ones are at work on is not.
///
/// On failure `reason` says why, the earlier file is as it was, and nothing is left beside it.
bool WriteWholeFile(const std::string& path, const std::function<void(std::ostream&)>& write,
                    std::string& reason);

/// The same for a file that only its user may read and that can be had again: it may be gone after
/// a failure of the machine.
bool ReplaceFile(const std::string& path, const std::string& content, std::string& reason);

} // namespace Nax::FrontEnd::XMLDB
