// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace LandscapeValidator {

/// Texts come from files and file names: what would move the cursor or change colours (control
/// characters of both sets) becomes "?".
std::string Printable(std::string_view text);
/// The same, but line ends stay: for messages of several lines.
std::string PrintableLines(std::string_view text);

/// True when `text` is valid UTF-8, as the library's names are.
bool IsUtf8(std::string_view text);

} // namespace LandscapeValidator
