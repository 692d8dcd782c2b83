// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace LandscapeValidator {

struct SConfigurationFile;

/// Which configuration is used; themselves options of the command.
struct SConfigurationOptions {
    std::string file;
    bool none = false;
    bool show = false;
};

/// Gives a command's options the values that the command line leaves open: from the environment,
/// else from a configuration file.
///
/// Works on whatever options the command has: a long name is the key in the file, and with the
/// prefix LANDSCAPE_VALIDATOR_, in capitals and with "_" for "-", the environment's. FILE has the
/// name "files". A list of names with values is taken name by name, any other one as a whole. An
/// option that excludes one that was given closer to the command line is left out. All of the
/// options' own checks apply. A file holds options of the default command; any other command takes
/// those that it shares with it, FILE excepted. One use, while the command line is being read.
class CConfiguration {
public:
    explicit CConfiguration(CLI::App& command);

    /// Throws CLI::ParseError, naming file and line or the variable, for what cannot be used.
    void Apply(const SConfigurationOptions& options);
    /// Every option with its value and where that comes from, itself in the form of a file.
    std::string List() const;
    /// Lines about environment variables with the prefix that name no option.
    std::string TellUnknownVariables() const;

    static void AddOptions(CLI::App& command, SConfigurationOptions& options);
    static void AddShowOption(CLI::App& command, SConfigurationOptions& options);

private:
    enum class Source { Default, File, Environment, CommandLine };
    struct SEntry {
        CLI::Option* option = nullptr;
        std::string key;
        Source source = Source::Default;
        std::string origin; ///< for people
    };

    std::vector<std::string> FindUnknownVariables() const;
    void ApplyEnvironment(bool ownOptions);
    void ApplyFile(const SConfigurationFile& file);
    void Set(SEntry& entry, Source source, const std::string& origin,
             std::vector<std::string> values);
    bool IsShutOut(const SEntry& entry, Source source, const std::string& origin) const;
    void CheckNeeds() const;
    SEntry* Find(const std::string& key);

    CLI::App& m_command;
    const CLI::App& m_default;     ///< the command whose options a file may hold
    std::vector<SEntry> m_entries; ///< in the order in which the command declares them
    std::string m_path;            ///< of the file; empty without one
};

/// What `make` gives once the options of a command, any but the default one, have their values; the
/// command then also tells of unknown variables.
Command Configured(CLI::App& command, const SConfigurationOptions& options,
                   const std::function<Command()>& make);

} // namespace LandscapeValidator
