// SPDX-License-Identifier: Apache-2.0
#include "configured_value.h"

#include "formats/text_encoding.h"
#include "platform/brief_path.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <vector>

namespace LandscapeValidator {

namespace {

/// "FORMAT=FILE" of "FORMAT=FILE [none]".
std::string PlaceholderOf(const CLI::Option& option) {
    const std::string text =
        option.get_positional() ? option.get_name(true) : option.get_option_text();
    return text.substr(0, text.find(' '));
}

bool IsNumber(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    return type.starts_with("INT") || type.starts_with("UINT") || type.starts_with("FLOAT");
}

/// As TOML on one line: in single quotes where nothing in it has to be escaped.
std::string Quoted(const std::string& text) {
    std::string escaped;
    AppendJsonEscaped(escaped, text); // its escapes are TOML's as well
    const auto needless =
        std::count_if(text.begin(), text.end(), [](char c) { return c == '"' || c == '\\'; });
    const bool plain = text.find('\'') == std::string::npos &&
                       escaped.size() == text.size() + static_cast<std::size_t>(needless);
    return plain ? "'" + text + "'" : '"' + escaped + '"';
}

/// True for a number that stands in a file as it stands here: one of TOML has neither "007" nor
/// ".5", and "1.50" would come back as another text.
bool IsPlainNumber(const std::string& text) {
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return text.find_first_not_of("0123456789.") == std::string::npos &&
           fmt::format("{}", number) == text;
}

std::string TextOf(const CLI::Option& option, const std::string& value) {
    return IsNumber(option) && IsPlainNumber(value) ? value : Quoted(value);
}

/// A list's default is one text, "[a,b]".
std::vector<std::string> ValuesOf(const CLI::Option& option) {
    if (option.count() > 0) {
        return option.results();
    }
    std::string text = option.get_default_str();
    if (text.size() < 3 || text.front() != '[') {
        return {};
    }
    return CLI::detail::split(text.substr(1, text.size() - 2), ',');
}

} // namespace

bool IsFlag(const CLI::Option& option) {
    return option.get_items_expected_max() == 0;
}

bool IsRepeatable(const CLI::Option& option) {
    return option.get_items_expected_max() > 1 ||
           (!IsFlag(option) && option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll);
}

bool NamesFiles(const CLI::Option& option) {
    constexpr std::array<std::string_view, 4> kPlaces = {"FILE", "DIR", "FOLDER", "PATH"};
    const std::string text = PlaceholderOf(option);
    const std::string place = text.substr(text.rfind('=') + 1);
    return std::find(kPlaces.begin(), kPlaces.end(), place) != kPlaces.end();
}

bool IsByName(const CLI::Option& option) {
    return PlaceholderOf(option).starts_with("NAME=");
}

std::vector<std::string> WithNewNames(const CLI::Option& option, std::vector<std::string> values) {
    for (const std::string& present : option.results()) {
        const std::string start = present.substr(0, present.find('=')) + "=";
        std::erase_if(values, [&](const std::string& value) { return value.starts_with(start); });
    }
    return values;
}

std::string WhyWrongType(const CLI::Option& option, const SConfiguredValue& value) {
    if (value.list && !IsRepeatable(option)) {
        return IsFlag(option) ? "must be true or false" : "takes one value, not a list";
    }
    if (IsFlag(option)) {
        return value.truth ? "" : "must be true or false";
    }
    return value.truth ? "must be a text or a number, not true or false" : "";
}

std::string RelativeTo(const std::string& folder, const std::string& value,
                       const CLI::Option& option) {
    namespace fs = std::filesystem;
    const bool pair = PlaceholderOf(option).find('=') != std::string::npos;
    const std::size_t equals = pair ? value.find('=') : std::string::npos;
    if (folder.empty() || (pair && equals == std::string::npos)) {
        return value;
    }
    const std::string head = pair ? value.substr(0, equals + 1) : std::string();
    const std::string path = value.substr(head.size());
    if (path.empty() || path == "-") {
        return value;
    }
    return head + Nax::FrontEnd::XMLDB::BriefPath(fs::path(folder) / path).string();
}

std::string ReadTruth(const std::string& text) {
    const std::string word = CLI::detail::to_lower(text);
    for (const std::string_view yes : {"true", "yes", "on", "1"}) {
        if (word == yes) {
            return "true";
        }
    }
    for (const std::string_view no : {"false", "no", "off", "0"}) {
        if (word == no) {
            return "false";
        }
    }
    return {};
}

std::string TextOfValue(CLI::Option& option) {
    if (IsFlag(option)) {
        return option.count() > 0 ? ReadTruth(option.results().back()) : "false";
    }
    if (option.count() == 0) {
        option.capture_default_str();
    }
    if (!IsRepeatable(option)) {
        const std::string text =
            option.count() > 0 ? option.results().back() : option.get_default_str();
        return text.empty() ? text : TextOf(option, text);
    }
    std::string list;
    for (const std::string& value : ValuesOf(option)) {
        list += (list.empty() ? "" : ", ") + TextOf(option, value);
    }
    return "[" + list + "]";
}

} // namespace LandscapeValidator
