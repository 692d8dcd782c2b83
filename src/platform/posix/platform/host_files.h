// SPDX-License-Identifier: Apache-2.0
#pragma once

// Files and folders as a program's user sees them: patterns, the user's folders, scratch files.
// Built with the rest of what only a program needs.
#include <memory>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// A folder of this process alone, for its user's eyes only; removed with what is in it.
class IScratchFolder {
public:
    virtual ~IScratchFolder() = default;
    virtual const std::string& GetPath() const = 0;
};

/// Made where the system keeps temporary files (`TMPDIR`, else /tmp); null with `message` when it
/// cannot be. Those of killed processes that are older than a day are removed.
std::unique_ptr<IScratchFolder> MakeScratchFolder(std::string& message);

/// True when a name, which has no slash, fits a shell pattern (`*`, `?`, `[...]`). A wildcard does
/// not stand for a dot at the beginning.
bool FitsPattern(const std::string& name, const std::string& pattern);

/// Local name of an XML file's outermost element; empty when the file cannot be read so far.
std::string ReadRootElement(const std::string& path);

/// $XDG_CACHE_HOME, default ~/.cache; empty when there is none.
std::string FindCacheFolder();
/// $HOME, else what the user database says; empty when there is none.
std::string FindHomeFolder();

/// Names of the environment variables that begin with `prefix`, sorted.
std::vector<std::string> ListEnvironment(const std::string& prefix);

} // namespace Nax::FrontEnd::XMLDB
