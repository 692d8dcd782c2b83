// SPDX-License-Identifier: Apache-2.0
// Support opens the archive on whatever system it has, so a name must be harmless on all of them.
#include "processor/support_file_name.h"

#include <naxfewxmldb/text_processor.h>

#include <algorithm>
#include <array>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t kLongestName = 200;
constexpr std::size_t kLongestExtension = 16;
constexpr std::string_view kForbidden = "<>:\"|?*/\\";
constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN",    "AUX",
                                                      "NUL", "CONIN$", "CONOUT$"};
// The superscript digits count as digits there.
constexpr std::array<std::string_view, 12> kPortNumbers = {
    "1", "2", "3", "4", "5", "6", "7", "8", "9", "\xC2\xB9", "\xC2\xB2", "\xC2\xB3"};

bool IsLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    for (char& character : upper) {
        if (character >= 'a' && character <= 'z') {
            character = static_cast<char>(character - 'a' + 'A');
        }
    }
    return upper;
}

/// A device's name means the device whatever extension follows.
bool IsDevice(std::string_view name) {
    std::string stem = UpperCase(name.substr(0, name.find('.')));
    stem.erase(stem.find_last_not_of(' ') + 1);
    if (std::find(kDevices.begin(), kDevices.end(), stem) != kDevices.end()) {
        return true;
    }
    return (stem.starts_with("COM") || stem.starts_with("LPT")) &&
           std::find(kPortNumbers.begin(), kPortNumbers.end(), stem.substr(3)) !=
               kPortNumbers.end();
}

/// Cuts in front of a character, not inside one.
std::string_view Cut(std::string_view text, std::size_t length) {
    if (text.size() <= length) {
        return text;
    }
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) {
        --length;
    }
    return text.substr(0, length);
}

/// `mark` in front of the extension, and all of it no longer than a name may be.
std::string Marked(const std::string& name, const std::string& mark) {
    const std::size_t dot = name.rfind('.');
    const bool keeps =
        dot != std::string::npos && dot > 0 && name.size() - dot <= kLongestExtension;
    const std::string end = mark + (keeps ? name.substr(dot) : std::string());
    const std::string_view stem = std::string_view(name).substr(0, keeps ? dot : name.size());
    return std::string(Cut(stem, kLongestName - end.size())) + end;
}

} // namespace

std::string PlainFileName(std::string_view path) {
    if (path.size() >= 2 && IsLetter(path[0]) && path[1] == ':') {
        path.remove_prefix(2);
    }
    const std::size_t separator = path.find_last_of("/\\");
    if (separator != std::string_view::npos) {
        path.remove_prefix(separator + 1);
    }
    // A question mark is forbidden, too, and so replaced again.
    std::string name = TextProcessor::ReplaceControls(path, {});
    for (char& character : name) {
        if (kForbidden.find(character) != std::string_view::npos) {
            character = '_';
        }
    }
    name = Marked(name, {});
    name.erase(name.find_last_not_of(". ") + 1);
    if (name.empty()) {
        return "unnamed";
    }
    return IsDevice(name) ? '_' + name : name;
}

std::string CUniqueFileNames::Take(const std::string& name) {
    int& number = m_numbers[UpperCase(name)];
    if (number == 0) {
        number = 1;
        return name;
    }
    std::string marked;
    do {
        ++number;
        marked = Marked(name, " (" + std::to_string(number) + ")");
    } while (!m_numbers.try_emplace(UpperCase(marked), 1).second);
    return marked;
}

} // namespace Nax::FrontEnd::XMLDB
