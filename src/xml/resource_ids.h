// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Nax::FrontEnd::XMLDB {

// Ids of the built-in resources; the build embeds the files under the same numbers.
inline constexpr int kStylesheetResource = 101;
inline constexpr int kSchemaResource = 106;
inline constexpr int kPageResource = 108;
inline constexpr int kStyleSheetResource = 109;
inline constexpr int kIconFontResource = 111;
inline constexpr int kRulesResource = 112;
inline constexpr int kExportActionsResource = 113;
inline constexpr int kLogoResource = 114;

} // namespace Nax::FrontEnd::XMLDB
