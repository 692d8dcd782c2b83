// SPDX-License-Identifier: Apache-2.0
#include "printable.h"

#include <naxfewxmldb/text_types.h>

#include <cstddef>

namespace LandscapeValidator {

namespace {

std::string WithoutControls(std::string_view text, bool keepLineEnds) {
    std::string printable;
    printable.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool lineEnd = keepLineEnds && (byte == '\n' || byte == '\t');
        if ((byte < 0x20 && !lineEnd) || byte == 0x7F) {
            printable += '?';
        } else if (byte == 0xC2 && at + 1 < text.size() &&
                   static_cast<unsigned char>(text[at + 1]) < 0xA0) {
            printable += '?'; // U+0080 to U+009F
            ++at;
        } else {
            printable += text[at];
        }
    }
    return printable;
}

} // namespace

std::string Printable(std::string_view text) {
    return WithoutControls(text, false);
}

std::string PrintableLines(std::string_view text) {
    return WithoutControls(text, true);
}

bool IsUtf8(std::string_view text) {
    // The library's conversion replaces what is not UTF-8, so only valid text comes back.
    const std::string original(text);
    const _bstr_t wide(original.c_str());
    const char* back = wide;
    return back != nullptr && original == back;
}

} // namespace LandscapeValidator
