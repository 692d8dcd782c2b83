// SPDX-License-Identifier: Apache-2.0
#include "printable.h"

#include <naxfewxmldb/text_processor.h>
#include <naxfewxmldb/text_types.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::TextProcessor;

namespace {

/// How many bytes the blank that begins at `at` has, 0 when there is none: what build servers skip
/// at the beginning of a line.
std::size_t BlankAt(std::string_view text, std::size_t at) {
    constexpr std::array<std::string_view, 18> kBlanks = {
        " ",      "\t",     "\u00a0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
        "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200a", "\u202f", "\u205f", "\u3000"};
    const auto found = std::find_if(kBlanks.begin(), kBlanks.end(), [&](std::string_view blank) {
        return text.substr(at).starts_with(blank);
    });
    return found == kBlanks.end() ? 0 : found->size();
}

/// Build servers read the output of programs for commands to themselves: "::" at the beginning of
/// a line, whatever blanks stand before it, and "##" anywhere.
std::string WithoutCommands(std::string text) {
    bool begins = true;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((at > 0 && text[at] == '#' && text[at - 1] == '#') ||
            (begins && text.compare(at, 2, "::") == 0)) {
            text[at] = '?';
        }
        const std::size_t blank = begins ? BlankAt(text, at) : 0;
        begins = text[at] == '\n' || blank > 0;
        at += blank > 1 ? blank - 1 : 0;
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

bool PrintResult(const std::string& text, std::ostream& out, std::ostream& err) {
    if (out) { // else what made it fail is the reason
        errno = 0;
    }
    if (out << text << std::flush) {
        return true;
    }
    const int code = errno;
    err << kMessageStart << "standard output cannot be written"
        << (code == 0 ? "" : ": " + std::generic_category().message(code)) << '\n';
    return false;
}

} // namespace LandscapeValidator
