// SPDX-License-Identifier: Apache-2.0
#include "xml_source_encoding.h"

#include <algorithm>
#include <array>

namespace Nax::FrontEnd::XMLDB {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view Blanks = " \t\r\n";

struct SSignature {
    std::string_view bytes;
    const char* name;
    std::size_t markLength;
};

// Byte-order marks first, longer ones before the shorter ones that they begin with; then the
// patterns of "<?" and "<" in wide encodings without a mark.
constexpr std::array<SSignature, 9> Signatures = {{
    {"\xEF\xBB\xBF"sv, "", 3},
    {"\xFF\xFE\0\0"sv, "UTF-32LE", 4},
    {"\0\0\xFE\xFF"sv, "UTF-32BE", 4},
    {"\xFF\xFE"sv, "UTF-16LE", 2},
    {"\xFE\xFF"sv, "UTF-16BE", 2},
    {"<\0\0\0"sv, "UTF-32LE", 0},
    {"\0\0\0<"sv, "UTF-32BE", 0},
    {"<\0"sv, "UTF-16LE", 0},
    {"\0<"sv, "UTF-16BE", 0},
}};

std::string_view PseudoAttribute(std::string_view declaration, std::string_view name) {
    std::size_t at = declaration.find(name);
    if (at == std::string_view::npos) {
        return {};
    }
    at = declaration.find_first_not_of(Blanks, at + name.size());
    if (at == std::string_view::npos || declaration[at] != '=') {
        return {};
    }
    at = declaration.find_first_not_of(Blanks, at + 1);
    if (at == std::string_view::npos || (declaration[at] != '"' && declaration[at] != '\'')) {
        return {};
    }
    const std::size_t end = declaration.find(declaration[at], at + 1);
    return end == std::string_view::npos ? std::string_view()
                                         : declaration.substr(at + 1, end - at - 1);
}

} // namespace

std::string_view XmlDeclarationIn(std::string_view head) {
    constexpr std::string_view open = "<?xml";
    if (!head.starts_with(open) || head.size() == open.size() ||
        Blanks.find(head[open.size()]) == std::string_view::npos) {
        return {};
    }
    const std::size_t first = head.find_first_not_of(Blanks, open.size());
    const std::size_t end = head.find("?>", open.size());
    if (end == std::string_view::npos || first >= end) {
        return {};
    }
    const std::string_view data = head.substr(first, end - first);
    return data.substr(0, data.find_last_not_of(Blanks) + 1);
}

SXmlEncoding DetectEncoding(std::string_view head) {
    for (const SSignature& signature : Signatures) {
        if (head.starts_with(signature.bytes)) {
            return {signature.name, signature.markLength};
        }
    }
    std::string name(PseudoAttribute(XmlDeclarationIn(head), "encoding"));
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    // A wide encoding declared in single bytes is a fault that the parser tells.
    for (const char* prefix : {"UTF", "UCS", "ISO-10646", "US-ASCII"}) {
        if (upper.starts_with(prefix)) {
            return {};
        }
    }
    return {std::move(name), 0};
}

} // namespace Nax::FrontEnd::XMLDB
