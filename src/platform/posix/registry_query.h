// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "platform/registry.h"

namespace Nax::FrontEnd::XMLDB {

/// A query for one value, whose answer is appended to a file.
struct SRegistryQuery {
    std::string key;
    std::string name;
    std::string output;
};

/// Reads "/c reg query KEY /v NAME >>FILE". False, with `query` in any state, for another text.
bool ParseRegistryQuery(std::string_view parameters, SRegistryQuery& query);

/// The answer as people know it: an empty line, the key, the value's line, an empty line.
std::string FormatRegistryAnswer(const SRegistryValue& value);

} // namespace Nax::FrontEnd::XMLDB
