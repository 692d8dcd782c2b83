// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Nax::FrontEnd::XMLDB {

// Ids of the built-in resources; the build embeds the files under the same numbers.
inline constexpr int kStylesheetResource = 101;
inline constexpr int kSchemaResource = 106;
inline constexpr int kRulesResource = 112;

} // namespace Nax::FrontEnd::XMLDB
