// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/text_types.h>

#include <new>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// Narrow text of a `_bstr_t`; empty for null. std::bad_alloc when there is no room for it.
inline std::string ToNarrow(const _bstr_t& text) {
    const char* narrow = text;
    if (narrow == nullptr && text.length() != 0) {
        throw std::bad_alloc(); // an empty folder name, say, would mean another folder
    }
    return narrow == nullptr ? std::string() : std::string(narrow);
}

} // namespace Nax::FrontEnd::XMLDB
