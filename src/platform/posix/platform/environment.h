// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// An environment variable's value; nothing when it is not set. Safe from any thread as long as the
/// host does not change the environment at the same time.
std::optional<std::string> GetEnvironmentText(const char* name);

/// The folder for trace files; nothing when none is configured (the current folder serves then).
/// Comes from NAXFEWXMLDB_TRACE_DIR; it is not created.
std::optional<std::string> GetTraceFolder();

} // namespace Nax::FrontEnd::XMLDB
