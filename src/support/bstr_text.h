// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/text_types.h>

#include <string>

namespace Nax::FrontEnd::XMLDB {

/// Narrow text of a `_bstr_t`; empty for null.
inline std::string ToNarrow(const _bstr_t& text) {
    const char* narrow = text;
    return narrow == nullptr ? std::string() : std::string(narrow);
}

} // namespace Nax::FrontEnd::XMLDB
