// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/files.h"

#include <ctime>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// The local time now by a strftime format; empty when the text would exceed 127 characters.
inline std::string FormatLocalTime(const char* format) {
    const std::tm now = LocalTimeNow();
    char text[128];
    return {text, std::strftime(text, sizeof(text), format, &now)};
}

} // namespace Nax::FrontEnd::XMLDB
