// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/bstr_text.h"

#include <naxfewxmldb/platform/com_types.h>

#include <string>

namespace Nax::FrontEnd::XMLDB {

/// Header of an error text: which function of which source file failed.
inline std::string ErrorBlock(const std::string& function, const char* file, int line) {
    return "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::" + function + "\nFile: " + file +
           ", Line: " + std::to_string(line) + "\n";
}

inline std::string DescribeComError(const _com_error& error) {
    return std::string("Exception _com_error: ") + error.ErrorMessage() +
           "\nDescription: " + ToNarrow(error.Description());
}

} // namespace Nax::FrontEnd::XMLDB
