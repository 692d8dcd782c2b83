// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/registry.h"

namespace Nax::FrontEnd::XMLDB {

/// The values of a registry file's text, in file order.
///
/// Grammar, one item a line, blanks around each part ignored:
///   [HIVE\Key\Subkey]          opens a key; HKLM and HKCU are short forms, no hive means HKCU
///   Name = value   "Name" = value   @ = value (the key's default value)
///   ; comment   # comment
/// and a value is one of: dword:hex, decimal digits, 0xhex, "text" (with \" and \\), bare text.
/// After a value a comment may follow, separated by a blank. A byte-order mark and either line end
/// are accepted. A line that fits nothing is skipped; a damaged key line drops the lines up to the
/// next key line, because their key is not known.
/// Rejected: a hierarchy of folders and files per key, which nobody could edit or mail as a whole.
std::vector<SRegistryValue> ParseRegistry(std::string_view text);

/// Splits a key into the hive's long name and the key below it.
std::pair<std::string, std::string> SplitHive(std::string_view path);

/// Compares keys and names: ASCII letters without regard to case.
bool EqualRegistryNames(std::string_view left, std::string_view right) noexcept;

} // namespace Nax::FrontEnd::XMLDB
