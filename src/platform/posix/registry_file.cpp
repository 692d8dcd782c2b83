// SPDX-License-Identifier: Apache-2.0
#include "registry_file.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <tuple>

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr std::string_view kBlanks = " \t\r\f\v";

struct SHive {
    std::string_view name;
    std::string_view shortName;
};

constexpr SHive kHives[] = {
    {"HKEY_CURRENT_USER", "HKCU"}, {"HKEY_LOCAL_MACHINE", "HKLM"},  {"HKEY_CLASSES_ROOT", "HKCR"},
    {"HKEY_USERS", "HKU"},         {"HKEY_CURRENT_CONFIG", "HKCC"},
};

char LowerCase(char character) noexcept {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

std::string_view Trim(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsComment(std::string_view text) noexcept {
    return !text.empty() && (text.front() == ';' || text.front() == '#');
}

/// Takes a quoted text off the front of `text`; nothing when its end is missing. A backslash before
/// anything but a quote or a backslash stands for itself, so that paths may be written plainly.
std::optional<std::string> TakeQuoted(std::string_view& text) {
    std::string result;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"') {
            text.remove_prefix(i + 1);
            return result;
        }
        if (text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '"' || text[i + 1] == '\\')) {
            ++i;
        }
        result += text[i];
    }
    return std::nullopt;
}

/// The name before the equals sign, which is taken off too.
std::optional<std::string> TakeName(std::string_view& line) {
    std::string name;
    if (line.front() == '"') {
        std::optional<std::string> quoted = TakeQuoted(line);
        line = Trim(line);
        if (!quoted.has_value() || line.empty() || line.front() != '=') {
            return std::nullopt;
        }
        name = std::move(*quoted);
        line.remove_prefix(1);
    } else {
        const std::size_t equals = line.find('=');
        name = Trim(line.substr(0, equals));
        if (equals == std::string_view::npos || name.empty()) {
            return std::nullopt;
        }
        if (name == "@") {
            name.clear();
        }
        line.remove_prefix(equals + 1);
    }
    line = Trim(line);
    return name;
}

std::optional<DWORD> ParseNumber(std::string_view digits, int base) noexcept {
    DWORD number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    if (digits.empty() || error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

void SetNumber(SRegistryValue& value, DWORD number) {
    char text[11] = "0x";
    const auto [end, error] = std::to_chars(text + 2, text + sizeof(text), number, 16);
    value.type = RegistryType::Number;
    value.number = number;
    value.text.assign(text, end);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) noexcept {
    return EqualRegistryNames(text.substr(0, prefix.size()), prefix);
}

/// Cuts a comment that a blank separates from the value.
std::string_view WithoutComment(std::string_view text) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool separated = i == 0 || kBlanks.find(text[i - 1]) != std::string_view::npos;
        if (separated && IsComment(text.substr(i))) {
            return Trim(text.substr(0, i));
        }
    }
    return text;
}

bool SetBareValue(SRegistryValue& value, std::string_view text) {
    std::optional<DWORD> number;
    if (StartsWithNoCase(text, "dword:")) {
        number = ParseNumber(Trim(text.substr(6)), 16);
    } else if (StartsWithNoCase(text, "0x")) {
        number = ParseNumber(text.substr(2), 16);
    } else if (!text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos) {
        number = ParseNumber(text, 10);
    } else {
        value.text = text;
        return true;
    }
    if (number.has_value()) {
        SetNumber(value, *number);
    }
    return number.has_value();
}

bool SetValue(SRegistryValue& value, std::string_view text) {
    if (text.empty() || text.front() != '"') {
        return SetBareValue(value, WithoutComment(text));
    }
    std::optional<std::string> quoted = TakeQuoted(text);
    text = Trim(text);
    if (!quoted.has_value() || !(text.empty() || IsComment(text))) {
        return false;
    }
    value.text = std::move(*quoted);
    return true;
}

/// Walks over the lines with the key that is open.
class CParser {
public:
    void Line(std::string_view line) {
        line = Trim(line);
        if (line.empty() || IsComment(line)) {
            return;
        }
        if (line.front() == '[') {
            OpenKey(line);
        } else if (m_keyOpen) {
            AddValue(line);
        }
    }
    std::vector<SRegistryValue> Take() { return std::move(m_values); }

private:
    void OpenKey(std::string_view line) {
        const std::size_t end = line.rfind(']');
        m_keyOpen = end != std::string_view::npos;
        if (m_keyOpen) {
            std::tie(m_hive, m_key) = SplitHive(Trim(line.substr(1, end - 1)));
            m_keyOpen = !m_key.empty();
        }
    }
    void AddValue(std::string_view line) {
        std::optional<std::string> name = TakeName(line);
        SRegistryValue value;
        if (name.has_value() && SetValue(value, line)) {
            value.hive = m_hive;
            value.key = m_key;
            value.name = std::move(*name);
            m_values.push_back(std::move(value));
        }
    }

    bool m_keyOpen = false;
    std::string m_hive;
    std::string m_key;
    std::vector<SRegistryValue> m_values;
};

} // namespace

bool EqualRegistryNames(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return LowerCase(a) == LowerCase(b); });
}

std::pair<std::string, std::string> SplitHive(std::string_view path) {
    while (!path.empty() && path.front() == '\\') {
        path.remove_prefix(1);
    }
    while (!path.empty() && path.back() == '\\') {
        path.remove_suffix(1);
    }
    const std::string_view first = path.substr(0, path.find('\\'));
    for (const SHive& hive : kHives) {
        if (EqualRegistryNames(first, hive.name) || EqualRegistryNames(first, hive.shortName)) {
            path.remove_prefix(std::min(path.size(), first.size() + 1));
            return {std::string(hive.name), std::string(path)};
        }
    }
    return {std::string(kHives[0].name), std::string(path)};
}

std::vector<SRegistryValue> ParseRegistry(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    CParser parser;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        parser.Line(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parser.Take();
}

} // namespace Nax::FrontEnd::XMLDB
