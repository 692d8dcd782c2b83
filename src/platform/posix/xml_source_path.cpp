// SPDX-License-Identifier: Apache-2.0
#include "platform/brief_path.h"
#include "xml_com_object.h"
#include "xml_source.h"

#include <filesystem>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view Hexadecimal = "0123456789ABCDEF";

bool StartsWithoutCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) {
        return false;
    }
    for (std::size_t at = 0; at < prefix.size(); ++at) {
        const char letter = text[at];
        const char lower = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
        if (lower != prefix[at]) {
            return false;
        }
    }
    return true;
}

int HexadecimalDigit(char character) {
    const char upper =
        character >= 'a' && character <= 'f' ? static_cast<char>(character - 32) : character;
    const std::size_t digit = Hexadecimal.find(upper);
    return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

/// The text as it stands when it decodes to a zero character, which no name has.
std::string Unescaped(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const int high =
            text[at] == '%' && at + 2 < text.size() ? HexadecimalDigit(text[at + 1]) : -1;
        const int low = high >= 0 ? HexadecimalDigit(text[at + 2]) : -1;
        if (high == 0 && low == 0) {
            return std::string(text);
        }
        if (low >= 0) {
            result += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            result += text[at];
        }
    }
    return result;
}

} // namespace

std::string LocalPathOf(std::string_view pathOrUrl) {
    constexpr std::string_view scheme = "file:";
    if (!StartsWithoutCase(pathOrUrl, scheme)) {
        for (const std::string_view remote : {"http:", "https:", "ftp:"}) {
            if (StartsWithoutCase(pathOrUrl, remote)) {
                throw CXmlFailure("\"" + std::string(pathOrUrl) +
                                  "\" is not a local file; nothing is fetched from a network.");
            }
        }
        return std::string(pathOrUrl);
    }
    std::string_view rest = pathOrUrl.substr(scheme.size());
    rest = rest.substr(0, rest.find_first_of("?#"));
    if (rest.starts_with("//")) {
        const std::size_t slash = rest.find('/', 2);
        const std::string_view host = rest.substr(2, slash == rest.npos ? rest.npos : slash - 2);
        if (!host.empty() && !(host.size() == 9 && StartsWithoutCase(host, "localhost"))) {
            throw CXmlFailure("\"" + std::string(pathOrUrl) + "\" names another host.");
        }
        rest = slash == rest.npos ? std::string_view() : rest.substr(slash);
    }
    return Unescaped(rest);
}

std::string FileUrlOf(const std::string& path) {
    const std::string absolute = BriefPath(std::filesystem::absolute(path)).string();
    std::string url = "file://";
    for (const char character : absolute) {
        const bool plain = (character >= 'a' && character <= 'z') ||
                           (character >= 'A' && character <= 'Z') ||
                           (character >= '0' && character <= '9') ||
                           std::string_view("/-._~").find(character) != std::string_view::npos;
        if (plain) {
            url += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            url += {'%', Hexadecimal[byte >> 4U], Hexadecimal[byte & 15U]};
        }
    }
    return url;
}

} // namespace Nax::FrontEnd::XMLDB
