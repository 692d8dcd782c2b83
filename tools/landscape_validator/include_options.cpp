// SPDX-License-Identifier: Apache-2.0
#include "include_options.h"

#include "command_line.h"
#include "platform/url.h"
#include "readable_file.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <optional>
#include <system_error>

namespace LandscapeValidator {

namespace {

constexpr char kIncludeGroup[] = "Included files";
constexpr int kMaxTimeout = 24 * 60 * 60;
constexpr std::size_t kMaxSizeLimit = std::size_t{4} << 30U;

std::optional<SIncludeRoot> ReadRoot(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        return std::nullopt;
    }
    const auto url = Nax::FrontEnd::XMLDB::ParseUrl(text.substr(0, equals));
    if (!url || !url->query.empty()) {
        return std::nullopt;
    }
    SIncludeRoot root{url->shown, text.substr(equals + 1)};
    if (!root.prefix.ends_with('/')) {
        root.prefix += '/'; // https://host/land is not the beginning of https://host/landscape.xml
    }
    return root;
}

std::string WhyNoRoot(const std::string& text) {
    const std::optional<SIncludeRoot> root = ReadRoot(text);
    if (!root) {
        return "'" + text + "' is not of the form PREFIX=FOLDER, where PREFIX is a URL with a host";
    }
    std::error_code error;
    return std::filesystem::is_directory(root->folder, error)
               ? std::string()
               : "'" + root->folder + "' is not a folder" +
                     (error ? ": " + error.message() : std::string());
}

constexpr std::size_t kMaxCertificates = std::size_t{16} << 20U;

/// Told before the run instead of with each file that cannot be fetched.
std::string WhyNoCertificates(const std::string& path) {
    std::string text;
    std::string reason;
    if (!ReadFile(path, text, reason, kMaxCertificates)) {
        return "cannot read '" + path + "': " + reason;
    }
    return text.find("CERTIFICATE-----") != std::string::npos
               ? std::string()
               : "'" + path + "' holds no certificate (PEM)";
}

} // namespace

void AddIncludeOptions(CLI::App& command, SIncludeOptions& options) {
    command
        .add_flag("--remote-includes", options.remote,
                  "Fetch included files from http: and https: URLs")
        ->group(kIncludeGroup);
    command
        .add_option("--remote-timeout", options.timeout,
                    "Longest time for one fetched file, in seconds")
        ->group(kIncludeGroup)
        ->option_text("N [30]")
        ->check(CLI::Range(1, kMaxTimeout).description(""));
    command
        .add_option("--remote-max-size", options.maxSize,
                    "Largest fetched file, in bytes or with KB, MB, GB")
        ->group(kIncludeGroup)
        ->option_text("SIZE [64MB]")
        ->transform(CLI::AsSizeValue(false).description(""))
        ->check(CLI::Range(std::size_t{1}, kMaxSizeLimit).description(""));
    command
        .add_option("--remote-cache", options.cacheFolder,
                    "Folder for copies of fetched files, instead of the user's cache folder")
        ->group(kIncludeGroup)
        ->option_text("DIR");
    command
        .add_option("--remote-ca", options.certificates,
                    "File of further certificate authorities to trust (PEM)")
        ->group(kIncludeGroup)
        ->option_text("FILE")
        ->check(CLI::ExistingFile.description(""))
        ->check(CLI::Validator([](std::string& path) { return WhyNoCertificates(path); }, ""));
    Repeatable(command.add_option("--include-root", options.rootWords,
                                  "Read includes below the URL PREFIX from FOLDER (repeatable)"))
        ->group(kIncludeGroup)
        ->option_text("PREFIX=FOLDER")
        ->check(CLI::Validator([](std::string& text) { return WhyNoRoot(text); }, ""));
}

void ReadIncludeRoots(SIncludeOptions& options) {
    for (const std::string& word : options.rootWords) {
        if (std::optional<SIncludeRoot> root = ReadRoot(word)) {
            options.roots.push_back(*std::move(root));
        }
    }
}

} // namespace LandscapeValidator
