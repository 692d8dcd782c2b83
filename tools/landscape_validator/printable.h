// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace LandscapeValidator {

/// How each message on standard error begins.
constexpr char kMessageStart[] = "landscape-validator: ";

/// Texts come from files and file names: what would move the cursor, change colours or turn the
/// order of letters becomes "?", and what is no UTF-8 U+FFFD. What a build server would take for a
/// command to itself gets a "?" in it.
std::string Printable(std::string_view text);
/// The same, but line ends stay: for messages of several lines.
std::string PrintableLines(std::string_view text);

/// Writes the last, or all, of what a command has to say to standard output. False when anything of
/// it could not be written, which is told on `err` with the system's reason.
bool PrintResult(const std::string& text, std::ostream& out, std::ostream& err);

/// True when `text` is valid UTF-8, as the library's names are.
bool IsUtf8(std::string_view text);

} // namespace LandscapeValidator
