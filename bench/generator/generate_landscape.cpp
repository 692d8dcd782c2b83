// SPDX-License-Identifier: Apache-2.0
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "landscape_generator.h"

namespace {

using Nax::FrontEnd::XMLDB::Bench::SGeneratorOptions;

constexpr std::string_view USAGE =
    "usage: generate_landscape --output PATH [--entries N] [--fault-rate R] [--seed S] "
    "[--files K]\n"
    "Writes a landscape of N entries (default 200000), a share R of them faulty (default 0.01),\n"
    "as a main file at PATH and K-1 included files beside it (default K 1).\n";

template <typename TNumber>
TNumber ParseNumber(std::string_view option, std::string_view text) {
    TNumber number{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || rest != end) {
        throw std::invalid_argument(std::string(option) + ": not a number: " + std::string(text));
    }
    return number;
}

struct SArguments {
    SGeneratorOptions options;
    std::filesystem::path output;
};

SArguments ParseArguments(int argc, char** argv) {
    SArguments arguments;
    for (int index = 1; index + 1 < argc; index += 2) {
        const std::string_view option = argv[index];
        const std::string_view value = argv[index + 1];
        if (option == "--output") {
            arguments.output = value;
        } else if (option == "--entries") {
            arguments.options.entries = ParseNumber<std::size_t>(option, value);
        } else if (option == "--fault-rate") {
            arguments.options.faultRate = ParseNumber<double>(option, value);
        } else if (option == "--seed") {
            arguments.options.seed = ParseNumber<std::uint64_t>(option, value);
        } else if (option == "--files") {
            arguments.options.files = ParseNumber<std::size_t>(option, value);
        } else {
            throw std::invalid_argument("unknown option: " + std::string(option));
        }
    }
    if (argc % 2 == 0 || arguments.output.empty()) {
        throw std::invalid_argument("an option lacks its value, or --output is missing");
    }
    return arguments;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const SArguments arguments = ParseArguments(argc, argv);
        Nax::FrontEnd::XMLDB::Bench::WriteLandscape(arguments.options, arguments.output);
    } catch (const std::invalid_argument& error) {
        std::cerr << "generate_landscape: " << error.what() << '\n' << USAGE;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "generate_landscape: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
