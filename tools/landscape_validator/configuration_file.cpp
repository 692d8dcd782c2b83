// SPDX-License-Identifier: Apache-2.0
#include "configuration_file.h"

#include "platform/host_files.h"

#include <fmt/format.h>
#include <toml++/toml.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace LandscapeValidator {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMaxSize = std::size_t{1} << 20U;
constexpr char kFileName[] = "landscape-validator.toml";

[[noreturn]] void Throw(const std::string& path, const toml::source_region& place,
                        const std::string& cause) {
    throw CConfigurationError(fmt::format("{}:{}: {}", path, place.begin.line, cause));
}

void AddValue(const std::string& path, const std::string& key, const toml::node& node,
              SConfiguredValue& value) {
    if (const auto* text = node.as_string()) {
        value.values.push_back(text->get());
    } else if (const auto* integer = node.as_integer()) {
        value.values.push_back(std::to_string(integer->get()));
    } else if (const auto* number = node.as_floating_point()) {
        value.values.push_back(fmt::format("{}", number->get()));
    } else if (const auto* truth = node.as_boolean()) {
        value.truth = true;
        value.values.emplace_back(truth->get() ? "true" : "false");
    } else {
        Throw(path, node.source(),
              fmt::format("'{}' must be a text, a number, true or false, or a list of them", key));
    }
}

bool IsSharedByAll(const fs::path& folder) {
    std::error_code error;
    const fs::perms permissions = fs::status(folder, error).permissions();
    constexpr fs::perms kShared = fs::perms::sticky_bit | fs::perms::others_write;
    return !error && (permissions & kShared) == kShared;
}

} // namespace

SConfigurationFile ReadConfigurationFile(const std::string& path) {
    const std::string what = "cannot read the configuration file '" + path + "': ";
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        throw CConfigurationError(what + "it is a folder");
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw CConfigurationError(what + std::generic_category().message(errno));
    }
    // One that was found may be anybody's device, and devices need not end.
    std::string content(kMaxSize + 1, '\0');
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (in.bad()) {
        throw CConfigurationError(what + std::generic_category().message(errno));
    }
    content.resize(static_cast<std::size_t>(in.gcount()));
    if (content.size() > kMaxSize) {
        throw CConfigurationError(what + "it is larger than 1 MB");
    }
    SConfigurationFile file;
    file.path = path;
    try {
        const toml::table table = toml::parse(content);
        for (const auto& [name, node] : table) {
            const std::string key(name.str());
            SConfiguredValue& value = file.values[key];
            value.line = static_cast<long>(name.source().begin.line);
            if (const toml::array* list = node.as_array()) {
                value.list = true;
                for (const toml::node& element : *list) {
                    AddValue(path, key, element, value);
                }
            } else {
                AddValue(path, key, node, value);
            }
        }
    } catch (const toml::parse_error& error) {
        Throw(path, error.source(), std::string(error.description()));
    }
    return file;
}

std::string FindConfigurationFile() {
    std::error_code error;
    const fs::path working = fs::current_path(error);
    if (error) { // what would be found there may be stricter than the defaults
        throw CConfigurationError(
            "cannot look for a configuration file in the working folder and above it: " +
            error.message() + "; --no-config does without, --config names one");
    }
    const fs::path home = Nax::FrontEnd::XMLDB::FindHomeFolder();
    fs::path found; // relative: names in messages and in results are then those that people use
    for (fs::path folder = working; !folder.empty(); folder = folder.parent_path()) {
        std::error_code ignored;
        if (folder != working && IsSharedByAll(folder)) {
            break;
        }
        const fs::file_status status = fs::symlink_status(folder / kFileName, error);
        // A folder above that is closed to the user holds nothing for them.
        if (status.type() == fs::file_type::none && error != std::errc::permission_denied) {
            throw CConfigurationError("cannot look for the configuration file '" +
                                      (found / kFileName).string() + "': " + error.message());
        }
        if (fs::exists(status)) {
            std::string path = (found / kFileName).string();
            if (fs::is_fifo(path, ignored)) { // opening it could wait for ever
                throw CConfigurationError("cannot read the configuration file '" + path +
                                          "': it is a pipe");
            }
            return path;
        }
        if (folder == folder.root_path() ||
            (!home.empty() && fs::equivalent(folder, home, ignored))) {
            break;
        }
        found /= "..";
    }
    return {};
}

} // namespace LandscapeValidator
