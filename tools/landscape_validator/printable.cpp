// SPDX-License-Identifier: Apache-2.0
#include "printable.h"

#include <naxfewxmldb/text_processor.h>
#include <naxfewxmldb/text_types.h>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::TextProcessor;

namespace {

/// Build servers read the output of programs for commands to themselves: "::" at the beginning of
/// a line, whatever blanks stand before it, and "##" anywhere.
std::string WithoutCommands(std::string text) {
    bool begins = true;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (at > 0 && text[at] == '#' && text[at - 1] == '#') {
            text[at] = '?';
        } else if (begins && text.compare(at, 2, "::") == 0) {
            text[at] = '?';
        }
        const bool blank = text[at] == ' ' || text[at] == '\t';
        begins = text[at] == '\n' || (begins && blank);
    }
    return text;
}

} // namespace

std::string Printable(std::string_view text) {
    return WithoutCommands(TextProcessor::ReplaceControls(text, {}));
}

std::string PrintableLines(std::string_view text) {
    return WithoutCommands(TextProcessor::ReplaceControls(text, "\n\t"));
}

bool IsUtf8(std::string_view text) {
    // The library's conversion replaces what is not UTF-8, so only valid text comes back.
    const std::string original(text);
    const _bstr_t wide(original.c_str());
    const char* back = wide;
    return back != nullptr && original == back;
}

} // namespace LandscapeValidator
