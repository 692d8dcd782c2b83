// SPDX-License-Identifier: Apache-2.0
#include "limit_options.h"

#include "command_line.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <array>
#include <optional>
#include <string_view>

namespace LandscapeValidator {

namespace {

constexpr char kAdvice[] = "--limit %s=NUMBER raises it.";
constexpr std::uint64_t kMaxLimit = std::uint64_t{1} << 60U;

struct SName {
    std::string_view name;
    std::uint64_t& (*value)(SRunLimits& limits);
};

const std::array kNames = {
    SName{"depth", [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.depth; }},
    SName{"attributes", [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.attributes; }},
    SName{"tag-size", [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.tagSize; }},
    SName{"text-size", [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.textSize; }},
    SName{"doctype-size",
          [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.doctypeSize; }},
    SName{"names", [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.names; }},
    SName{"file-size", [](SRunLimits& limits) -> std::uint64_t& { return limits.xml.fileSize; }},
    SName{"files", [](SRunLimits& limits) -> std::uint64_t& { return limits.files; }},
    SName{"findings", [](SRunLimits& limits) -> std::uint64_t& { return limits.findings; }},
};

const SName* FindName(std::string_view name) {
    for (const SName& known : kNames) {
        if (known.name == name) {
            return &known;
        }
    }
    return nullptr;
}

/// A number of digits, with KB, MB or GB (of 1024) behind it or not.
std::optional<std::uint64_t> ReadNumber(const std::string& text) {
    std::uint64_t number = 0;
    std::size_t at = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        number = number * 10 + static_cast<std::uint64_t>(text[at] - '0');
        if (number > kMaxLimit) {
            return std::nullopt;
        }
    }
    const std::string unit = CLI::detail::to_lower(text.substr(at));
    const unsigned shift = unit == "kb" ? 10 : unit == "mb" ? 20 : unit == "gb" ? 30 : 0;
    if (at == 0 || (!unit.empty() && shift == 0) || number == 0 || number > kMaxLimit >> shift) {
        return std::nullopt;
    }
    return number << shift;
}

std::string WhyNoLimit(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        return "'" + text + "' is not of the form NAME=NUMBER";
    }
    if (FindName(text.substr(0, equals)) == nullptr) {
        std::string names;
        for (const SName& known : kNames) {
            names += (names.empty() ? "" : ", ") + std::string(known.name);
        }
        return "there is no limit '" + text.substr(0, equals) + "', only " + names;
    }
    return ReadNumber(text.substr(equals + 1))
               ? std::string()
               : "'" + text +
                     "' needs a whole number from 1 to 1152921504606846976, which may have KB, MB "
                     "or GB behind it";
}

} // namespace

std::string LimitAdvice(const std::string& name) {
    std::string advice = kAdvice;
    return advice.replace(advice.find("%s"), 2, name);
}

void AddLimitOptions(CLI::App& command, SRunLimits& limits) {
    std::string names;
    for (const SName& known : kNames) {
        names +=
            fmt::format("{}{} [{}]", names.empty() ? "" : ", ", known.name, known.value(limits));
    }
    Repeatable(command.add_option("--limit", limits.words,
                                  "How much of something the input may have, in bytes also with "
                                  "KB, MB, GB (repeatable): " +
                                      names))
        ->option_text("NAME=NUMBER")
        ->check(CLI::Validator([](std::string& text) { return WhyNoLimit(text); }, ""));
}

void ReadLimits(SRunLimits& limits) {
    limits.xml.advice = kAdvice;
    for (const std::string& word : limits.words) {
        const std::size_t equals = word.find('=');
        const SName* const known = FindName(std::string_view(word).substr(0, equals));
        const std::optional<std::uint64_t> number = ReadNumber(word.substr(equals + 1));
        if (known != nullptr && number) {
            known->value(limits) = *number;
        }
    }
}

} // namespace LandscapeValidator
