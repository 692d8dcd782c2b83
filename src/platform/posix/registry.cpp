// SPDX-License-Identifier: Apache-2.0
#include "platform/registry.h"

#include <fstream>
#include <sstream>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/known_folders.h"
#include "registry_file.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

std::string ReadRegistryFile() {
    // Found, not created: asking for a value leaves the user's folders alone.
    const std::string folder = FindKnownFolder(CSIDL_APPDATA);
    if (folder.empty()) {
        return {};
    }
    const std::string path = JoinPath(folder, "naxfewxmldb/registry.ini");
    // A pipe of that name would hold every query up.
    if (!CheckRegularFile(path, LinkRule::Follow).problem.empty()) {
        return {};
    }
    // What cannot be read is as if it were not there; an iterator over the file would throw.
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text ? text.str() : std::string();
}

} // namespace

bool GetRegistryValue(const std::string& key, const std::string& name, SRegistryValue* value) {
    const auto [hive, path] = SplitHive(key);
    bool found = false;
    // The last line of a name wins, as it would if the lines were executed.
    for (SRegistryValue& candidate : ParseRegistry(ReadRegistryFile())) {
        if (candidate.hive == hive && EqualRegistryNames(candidate.key, path) &&
            EqualRegistryNames(candidate.name, name)) {
            *value = std::move(candidate);
            found = true;
        }
    }
    return found;
}

} // namespace Nax::FrontEnd::XMLDB

int GetRegValInt(DWORD* value, const char* key, const char* name, int /*flags*/) {
    using namespace Nax::FrontEnd::XMLDB;
    SRegistryValue found;
    if (!GetRegistryValue(key, name, &found) || found.type != RegistryType::Number) {
        return 1;
    }
    *value = found.number;
    return 0;
}
