// SPDX-License-Identifier: Apache-2.0
#include "platform/environment.h"

#include <cstdlib>

namespace Nax::FrontEnd::XMLDB {

std::optional<std::string> GetEnvironmentText(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::optional<std::string> GetTraceFolder() {
    std::optional<std::string> folder = GetEnvironmentText("NAXFEWXMLDB_TRACE_DIR");
    return folder.has_value() && folder->empty() ? std::nullopt : folder;
}

} // namespace Nax::FrontEnd::XMLDB
