// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace LandscapeValidator {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

/// Decodes the character of `text` at `at` and moves `at` behind it. What is no UTF-8 (a stray
/// byte, a surrogate, an overlong form) is one replacement character a byte.
char32_t DecodeUtf8(std::string_view text, std::size_t& at);

/// Appends `character` as UTF-8.
void AppendUtf8(std::string& out, char32_t character);

/// `text` with a replacement character for each byte that is no UTF-8.
std::string ValidUtf8(std::string_view text);

/// Appends `text` as the inside of a JSON string. What a terminal would obey is escaped, so that
/// a document may be shown on one; what is no UTF-8 is replaced.
void AppendJsonEscaped(std::string& out, std::string_view text);

/// Appends `text` as content or attribute value of XML 1.0. Characters that XML does not allow are
/// replaced; line ends and tabs are kept, as references where `attribute` says so.
void AppendXmlEscaped(std::string& out, std::string_view text, bool attribute);

/// A path as part of a URI: all but unreserved characters and slashes as percent escapes.
std::string PercentEncodedPath(std::string_view path);

/// A URL as it was written, with percent escapes for what no URI may hold.
std::string PercentEncodedUrl(std::string_view url);

} // namespace LandscapeValidator
