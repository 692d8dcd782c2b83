// SPDX-License-Identifier: Apache-2.0
#include "support/format.h"

#include <array>
#include <cstdio>

namespace Nax::FrontEnd::XMLDB {

bool AppendFormat(std::string& text, const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    std::array<char, 512> block = {};
    const int length = std::vsnprintf(block.data(), block.size(), format, args);
    bool done = length >= 0;
    const auto count = static_cast<std::size_t>(done ? length : 0);
    if (count < block.size()) {
        text.append(block.data(), count);
    } else {
        const std::size_t start = text.size();
        text.resize(start + count);
        // The terminating zero lands on the string's own.
        done = std::vsnprintf(text.data() + start, count + 1, format, again) == length;
        text.resize(done ? start + count : start);
    }
    va_end(again);
    return done;
}

std::string Format(const char* format, ...) {
    std::string text;
    va_list args;
    va_start(args, format);
    AppendFormat(text, format, args);
    va_end(args);
    return text;
}

} // namespace Nax::FrontEnd::XMLDB
