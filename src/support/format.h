// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <string>

#include "platform/compiler.h"

namespace Nax::FrontEnd::XMLDB {

/// Appends a printf-style text of any length. False, with `text` as it was, when the format cannot
/// be carried out. `args` is used up.
bool AppendFormat(std::string& text, const char* format, va_list args) NAX_PRINTF_FORMAT(2, 0);

/// A printf-style text of any length; empty when the format cannot be carried out.
std::string Format(const char* format, ...) NAX_PRINTF_FORMAT(1, 2);

} // namespace Nax::FrontEnd::XMLDB
