// SPDX-License-Identifier: Apache-2.0
#include "xml_source_encoding.h"

#include <iconv.h>
#include <algorithm>
#include <array>
#include <cstdint>

namespace Nax::FrontEnd::XMLDB {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view Blanks = " \t\r\n";

struct SSignature {
    std::string_view bytes;
    const char* name;
    std::size_t markLength;
    std::size_t unit; ///< bytes of a character
};

// Byte-order marks first, longer ones before the shorter ones that they begin with; then the
// patterns of "<?" and "<" in wide encodings without a mark.
constexpr std::array<SSignature, 9> Signatures = {{
    {"\xEF\xBB\xBF"sv, "", 3, 1},
    {"\xFF\xFE\0\0"sv, "UTF-32LE", 4, 4},
    {"\0\0\xFE\xFF"sv, "UTF-32BE", 4, 4},
    {"\xFF\xFE"sv, "UTF-16LE", 2, 2},
    {"\xFE\xFF"sv, "UTF-16BE", 2, 2},
    {"<\0\0\0"sv, "UTF-32LE", 0, 4},
    {"\0\0\0<"sv, "UTF-32BE", 0, 4},
    {"<\0"sv, "UTF-16LE", 0, 2},
    {"\0<"sv, "UTF-16BE", 0, 2},
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

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return upper;
}

/// Each character that is one of ASCII as one byte, any other as one that no declaration has.
std::string AsciiOf(std::string_view text, const SSignature& signature) {
    const bool bigEndian = std::string_view(signature.name).ends_with("BE");
    std::string ascii;
    for (std::size_t at = 0; at + signature.unit <= text.size(); at += signature.unit) {
        const std::string_view unit = text.substr(at, signature.unit);
        const auto zeros = std::count(unit.begin(), unit.end(), '\0');
        const char character = bigEndian ? unit.back() : unit.front();
        ascii += static_cast<std::size_t>(zeros) + 1 == signature.unit ? character : '\x80';
    }
    return ascii;
}

/// The bytes of "<" in an encoding, without a mark; empty when nobody knows the encoding.
std::string AngleBracketIn(const std::string& encoding) {
    constexpr std::string_view standard = "ISO-10646-"; // of names that only XML has
    const std::size_t start = UpperCase(encoding).starts_with(standard) ? standard.size() : 0;
    const iconv_t handle = iconv_open(encoding.c_str() + start, "UTF-8");
    if (reinterpret_cast<std::intptr_t>(handle) == -1) {
        return {};
    }
    char bracket[] = "<";
    std::array<char, 16> bytes{};
    char* input = bracket;
    char* output = bytes.data();
    std::size_t inputLeft = 1;
    std::size_t outputLeft = bytes.size();
    iconv(handle, &input, &inputLeft, &output, &outputLeft);
    iconv_close(handle);
    std::string text(bytes.data(), bytes.size() - outputLeft);
    for (const SSignature& signature : Signatures) {
        if (signature.markLength > 0 && text.starts_with(signature.bytes)) {
            return text.substr(signature.markLength);
        }
    }
    return text;
}

bool IsEncodingName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '.' || c == '_' || c == '-';
    });
}

/// `name` is the encoding's that the bytes have, as the signature tells.
bool CanBe(const std::string& declared, std::string_view bracket, const SSignature& signature,
           std::string_view name) {
    if (signature.bytes.empty()) {
        return bracket.find('\0') == std::string_view::npos;
    }
    const std::string upper = UpperCase(declared);
    const bool hasOrder = upper.ends_with("LE") || upper.ends_with("BE");
    return bracket.size() == signature.unit && (signature.unit > 1 || bracket == "<") &&
           (!hasOrder || upper.ends_with(name.substr(name.size() - 2)));
}

std::string ContradictionIn(std::string_view text, const SSignature& signature) {
    const std::string ascii = AsciiOf(text, signature);
    if (text.size() + signature.markLength >= XmlHeadSize && ascii.starts_with("<?xml") &&
        ascii.find("?>") == std::string::npos) {
        return "The XML declaration is longer than " + std::to_string(ascii.size()) +
               " characters.";
    }
    const std::string declared(PseudoAttribute(XmlDeclarationIn(ascii), "encoding"));
    if (!IsEncodingName(declared)) {
        return {}; // none, or a fault that the parser tells
    }
    const std::string bracket = AngleBracketIn(declared);
    if (bracket.empty()) {
        return "Unsupported encoding " + declared + ".";
    }
    const std::string name = signature.unit == 1 ? "UTF-8" : signature.name;
    return CanBe(declared, bracket, signature, name)
               ? std::string()
               : "Document labelled " + declared + " but has " + name + " content.";
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
            return {signature.name, signature.markLength,
                    ContradictionIn(head.substr(signature.markLength), signature)};
        }
    }
    std::string name(PseudoAttribute(XmlDeclarationIn(head), "encoding"));
    const std::string upper = UpperCase(name);
    // Not converted: UTF-8 itself, and wide encodings declared in single bytes.
    for (const char* prefix : {"UTF", "UCS", "ISO-10646", "US-ASCII"}) {
        if (upper.starts_with(prefix)) {
            return {"", 0, ContradictionIn(head, {"", "", 0, 1})};
        }
    }
    return {std::move(name), 0, {}};
}

} // namespace Nax::FrontEnd::XMLDB
