// SPDX-License-Identifier: Apache-2.0
#pragma once

// The user's folders, by the XDG base directory rules: local application data is $XDG_DATA_HOME
// (default ~/.local/share), application data is $XDG_CONFIG_HOME (default ~/.config). A relative
// value is ignored. Without HOME the home folder comes from the user database. The host may
// override each folder. All operations may be called from any thread.
#include "platform/basic_types.h"

#include <naxfewxmldb/platform/com_types.h>

#include <string>

inline constexpr int CSIDL_APPDATA = 0x001a;
inline constexpr int CSIDL_LOCAL_APPDATA = 0x001c;

/// Writes the folder, created when missing, to `buffer` of MAX_PATH characters. E_INVALIDARG for an
/// unknown folder, E_FAIL when there is none, it cannot be created, or its path does not fit; the
/// buffer then holds the empty text.
HRESULT SHGetFolderPathA(HWND window, int csidl, HANDLE token, DWORD flags, char* buffer);

namespace Nax::FrontEnd::XMLDB {

/// The folder without the length limit, created when missing; empty on failure.
std::string GetKnownFolder(int csidl);

/// The folder's path, whether it exists or not; empty when there is none.
std::string FindKnownFolder(int csidl);

/// Replaces the folder for this process; an empty path removes the replacement.
void SetKnownFolder(int csidl, const std::string& path);

} // namespace Nax::FrontEnd::XMLDB
