// SPDX-License-Identifier: Apache-2.0
#pragma once

// The registry, read from the text file naxfewxmldb/registry.ini in the application-data folder.
// Each query reads the file anew, so there is no state and no lock. Keys and names are compared
// without regard to the case of ASCII letters. A missing file is an empty registry.
#include "platform/basic_types.h"

#include <string>

/// Reads the number `name` of `key`. Returns 0 when it was found, and leaves `value` alone
/// otherwise. A key without hive is looked up in HKEY_CURRENT_USER. `flags` is reserved, pass 0.
int GetRegValInt(DWORD* value, const char* key, const char* name, int flags);

namespace Nax::FrontEnd::XMLDB {

enum class RegistryType { Text, Number };

struct SRegistryValue {
    std::string hive; ///< long form, such as HKEY_CURRENT_USER
    std::string key;  ///< without hive, as written
    std::string name; ///< empty for the key's default value
    RegistryType type = RegistryType::Text;
    std::string text; ///< the text, or the number as 0x...
    DWORD number = 0; ///< 0 for a text
};

/// Reads one value of any type; `value` is untouched when there is none. A key without hive is
/// looked up in HKEY_CURRENT_USER.
bool GetRegistryValue(const std::string& key, const std::string& name, SRegistryValue* value);

} // namespace Nax::FrontEnd::XMLDB
