// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/known_folders.h>

#include <string>

#include "platform/known_folders.h"

namespace Nax::FrontEnd::XMLDB {

void OverrideKnownFolder(KnownFolder folder, const _bstr_t& path) {
    const int csidl = folder == KnownFolder::LocalAppData ? CSIDL_LOCAL_APPDATA : CSIDL_APPDATA;
    const char* text = path;
    SetKnownFolder(csidl, text == nullptr ? std::string() : std::string(text));
}

} // namespace Nax::FrontEnd::XMLDB
