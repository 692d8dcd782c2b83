// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

#include "configuration_file.h"
#include "configured_value.h"
#include "contains.h"
#include "platform/host_files.h"
#include "printable.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

namespace LandscapeValidator {

namespace {

constexpr char kPrefix[] = "LANDSCAPE_VALIDATOR_";
constexpr char kConfigurationGroup[] = "Configuration";
constexpr char kDefaultCommand[] = "validate";
constexpr char kListSeparator = ';';
// They choose the configuration, so that a file cannot hold them.
constexpr std::array<std::string_view, 3> kOwnKeys = {"config", "no-config", "show-config"};
// They end the program.
constexpr std::array<std::string_view, 3> kNoKeys = {"help", "help-all", "version"};

[[noreturn]] void Throw(const std::string& message) {
    throw CLI::ConfigError(PrintableLines(message));
}

/// CLI11 takes any number and some letters for a truth.
void RequireTruths(const CLI::Option& flag) {
    for (const std::string& text : flag.results()) {
        if (ReadTruth(text).empty()) {
            Throw(fmt::format("{}: '{}' is neither true nor false", flag.get_name(), text));
        }
    }
}

/// A text that a script left empty is no folder, no file and no name; it must not mean the default.
/// Nor may it be cut short, as the system does at a zero character in the name of a file.
void RequireText(const std::string& origin, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        if (value.empty() || value.find('\0') != std::string::npos) {
            Throw(fmt::format("{}: the value {}", origin,
                              value.empty() ? "is empty" : "holds a zero character"));
        }
    }
}

std::string VariableOf(const std::string& key) {
    std::string name = kPrefix + key;
    std::transform(name.begin(), name.end(), name.begin(), [](char character) {
        return character == '-'
                   ? '_'
                   : static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    });
    return name;
}

/// Long names; a positional one has none and is the list of files.
std::vector<std::string> KeysOf(const CLI::Option& option) {
    return option.get_positional() ? std::vector<std::string>{"files"} : option.get_lnames();
}

bool HasKey(const CLI::App& command, const std::string& key) {
    const std::vector<const CLI::Option*> options = command.get_options();
    return std::any_of(options.begin(), options.end(), [&key](const CLI::Option* option) {
        return Contains(KeysOf(*option), key);
    });
}

const CLI::App& DefaultCommandOf(const CLI::App& command) {
    const CLI::App* top = &command;
    while (top->get_parent() != nullptr) {
        top = top->get_parent();
    }
    return *top->get_subcommand(kDefaultCommand);
}

} // namespace

void CConfiguration::AddOptions(CLI::App& command, SConfigurationOptions& options) {
    CLI::Option* const file =
        command
            .add_option("--config", options.file,
                        "Configuration file, instead of a landscape-validator.toml found in the "
                        "working folder or above it")
            ->group(kConfigurationGroup)
            ->option_text("FILE");
    command.add_flag("--no-config", options.none, "Use no configuration file")
        ->group(kConfigurationGroup)
        ->excludes(file);
}

void CConfiguration::AddShowOption(CLI::App& command, SConfigurationOptions& options) {
    command
        .add_flag("--show-config", options.show,
                  "Print the value of every option and where it comes from, and end")
        ->group(kConfigurationGroup);
}

CConfiguration::CConfiguration(CLI::App& command)
    : m_command(command), m_default(DefaultCommandOf(command)) {
    const bool isDefault = &m_command == &m_default;
    for (CLI::Option* option : command.get_options()) {
        for (const std::string& key : KeysOf(*option)) {
            // FILE means something else to each command.
            if (Contains(kNoKeys, key) ||
                (!isDefault && (option->get_positional() || !HasKey(m_default, key)))) {
                continue;
            }
            SEntry entry{option, key, Source::Default, "default"};
            if (option->count() > 0) {
                if (IsFlag(*option)) {
                    RequireTruths(*option);
                } else if (!option->get_positional()) {
                    RequireText(option->get_name(), option->results());
                }
                entry.source = Source::CommandLine;
                entry.origin = "command line";
            }
            m_entries.push_back(std::move(entry));
        }
    }
}

void CConfiguration::Apply(const SConfigurationOptions& options) {
    ApplyEnvironment(true);
    try {
        if (!options.none) {
            m_path = options.file.empty() ? FindConfigurationFile() : options.file;
        }
        ApplyEnvironment(false);
        if (!m_path.empty()) {
            ApplyFile(ReadConfigurationFile(m_path));
        }
    } catch (const CConfigurationError& error) {
        Throw(error.what());
    }
    CheckNeeds();
}

void CConfiguration::ApplyEnvironment(bool ownOptions) {
    for (SEntry& entry : m_entries) {
        const std::string name = VariableOf(entry.key);
        const char* text = std::getenv(name.c_str());
        if (Contains(kOwnKeys, entry.key) != ownOptions || text == nullptr || *text == '\0' ||
            (entry.source == Source::CommandLine && !IsByName(*entry.option))) {
            continue;
        }
        std::vector<std::string> values{text};
        if (IsFlag(*entry.option)) {
            const std::string truth = ReadTruth(text);
            if (truth.empty()) {
                Throw(fmt::format("{}: '{}' is neither true nor false", name, text));
            }
            values = {truth};
        } else if (IsRepeatable(*entry.option)) {
            values = CLI::detail::split(text, kListSeparator);
            values.erase(std::remove(values.begin(), values.end(), ""), values.end());
        }
        Set(entry, Source::Environment, name, values);
    }
}

void CConfiguration::ApplyFile(const SConfigurationFile& file) {
    const std::string folder = std::filesystem::path(file.path).parent_path().string();
    for (const auto& [key, value] : file.values) {
        const std::string origin = fmt::format("{}:{}", file.path, value.line);
        SEntry* const entry = Find(key);
        if (Contains(kOwnKeys, key) || Contains(kNoKeys, key)) {
            Throw(fmt::format("{}: '{}' cannot be set in a configuration file", origin, key));
        }
        if (entry == nullptr && HasKey(m_default, key)) {
            continue; // for the default command
        }
        if (entry == nullptr) {
            Throw(fmt::format("{}: there is no option '{}'", origin, key));
        }
        if (const std::string fault = WhyWrongType(*entry->option, value); !fault.empty()) {
            Throw(fmt::format("{}: '{}' {}", origin, key, fault));
        }
        RequireText(fmt::format("{}: '{}'", origin, key), value.values);
        std::vector<std::string> values = value.values;
        if (NamesFiles(*entry->option)) {
            for (std::string& text : values) {
                text = RelativeTo(folder, text, *entry->option);
            }
        }
        if (entry->source == Source::Default || IsByName(*entry->option)) {
            Set(*entry, Source::File, origin, values);
        }
    }
}

void CConfiguration::Set(SEntry& entry, Source source, const std::string& origin,
                         std::vector<std::string> values) {
    if (IsShutOut(entry, source, origin)) {
        return;
    }
    CLI::Option& option = *entry.option;
    if (entry.source == Source::Default) {
        entry.source = source;
        entry.origin = origin;
    } else {
        values = WithNewNames(option, std::move(values));
        entry.origin += values.empty() ? "" : ", " + origin;
    }
    if (values.empty() ||
        (IsFlag(option) && values.front() == "false" && option.get_default_str() != "true")) {
        return; // nothing but the origin changes
    }
    option.allow_extra_args(false); // which would make a list of "[a,b]"
    try {
        for (const std::string& value : values) {
            option.add_result(IsFlag(option) ? option.get_flag_value(entry.key, value) : value);
        }
        option.run_callback();
    } catch (const CLI::ParseError& error) {
        Throw(fmt::format("{}: {}", origin, error.what()));
    }
}

bool CConfiguration::IsShutOut(const SEntry& entry, Source source,
                               const std::string& origin) const {
    bool shutOut = false;
    for (const SEntry& other : m_entries) {
        if (&other == &entry) {
            continue;
        }
        if (other.option == entry.option && other.source != Source::Default) {
            shutOut = true; // by another name, or a flag's opposite
        } else if (other.option->count() > 0 &&
                   entry.option->get_excludes().count(other.option) > 0) {
            if (other.source == source) {
                Throw(fmt::format("{}: '{}' excludes '{}' ({})", origin, entry.key, other.key,
                                  other.origin));
            }
            shutOut = true;
        }
    }
    return shutOut;
}

void CConfiguration::CheckNeeds() const {
    for (const SEntry& entry : m_entries) {
        for (const CLI::Option* needed : entry.option->get_needs()) {
            if (entry.option->count() > 0 && needed->count() == 0) {
                Throw(
                    fmt::format("{}: '{}' needs {}", entry.origin, entry.key, needed->get_name()));
            }
        }
    }
}

CConfiguration::SEntry* CConfiguration::Find(const std::string& key) {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&key](const SEntry& entry) { return entry.key == key; });
    return found == m_entries.end() ? nullptr : &*found;
}

std::string CConfiguration::List() const {
    std::string list = m_path.empty() ? "# No configuration file is used.\n"
                                      : fmt::format("# Configuration file: {}\n", m_path);
    for (const SEntry& entry : m_entries) {
        if (Contains(kOwnKeys, entry.key)) {
            continue;
        }
        const std::string value = TextOfValue(*entry.option);
        const std::string line = value.empty() ? fmt::format("# {} is not set", entry.key)
                                               : fmt::format("{} = {}", entry.key, value);
        list += fmt::format("{:<40} # {}\n", line, entry.origin);
    }
    return list;
}

std::string CConfiguration::TellUnknownVariables() const {
    std::string lines;
    for (const std::string& variable : FindUnknownVariables()) {
        lines += "landscape-validator: the environment variable " + Printable(variable) +
                 " names no option\n";
    }
    return lines;
}

std::vector<std::string> CConfiguration::FindUnknownVariables() const {
    std::vector<std::string> unknown = Nax::FrontEnd::XMLDB::ListEnvironment(kPrefix);
    for (const CLI::Option* option : m_default.get_options()) {
        for (const std::string& key : KeysOf(*option)) {
            unknown.erase(std::remove(unknown.begin(), unknown.end(), VariableOf(key)),
                          unknown.end());
        }
    }
    return unknown;
}

Command Configured(CLI::App& command, const SConfigurationOptions& options,
                   const std::function<Command()>& make) {
    CConfiguration configuration(command);
    configuration.Apply(options);
    return [notes = configuration.TellUnknownVariables(), run = make()](std::ostream& out,
                                                                        std::ostream& err) {
        err << notes;
        return run(out, err);
    };
}

} // namespace LandscapeValidator
