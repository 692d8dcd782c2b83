// SPDX-License-Identifier: Apache-2.0
#pragma once

// Between UTF-8 and wide text, without a locale. A wide character is a code point where wchar_t has
// 32 bits and a UTF-16 unit where it has 16. Valid text comes back unchanged; what is invalid
// becomes U+FFFD, one for each maximal part of a broken UTF-8 sequence and one for each surrogate
// without partner or value beyond U+10FFFF. Zero characters are characters like any other.
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

void AppendUtf8(std::string& text, std::wstring_view wide);
void AppendUtf8(std::string& text, std::u16string_view wide);
void AppendWide(std::wstring& wide, std::string_view text);
void AppendWide(std::u16string& wide, std::string_view text);

std::string ToUtf8(std::wstring_view wide);
std::wstring ToWide(std::string_view text);

} // namespace Nax::FrontEnd::XMLDB
