// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Nax::FrontEnd::XMLDB {

/// Creates `path` and its missing parents with the given access rights (less the process's mask).
/// True when the folder is there afterwards; otherwise the reason is in GetLastError.
bool CreateFoldersWithMode(const std::string& path, unsigned int mode);

} // namespace Nax::FrontEnd::XMLDB
