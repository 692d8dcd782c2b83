// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace LandscapeValidator {

/// A command with its options, ready to run: results go to `out`, all else to `err`.
using Command = std::function<ExitCode(std::ostream& out, std::ostream& err)>;

/// Reads the command line. An empty command means that the program ends with `exitCode`: help or
/// version have been written to `out`, or what is wrong to `err`.
Command ParseCommandLine(const std::vector<std::string>& arguments, std::ostream& out,
                         std::ostream& err, ExitCode& exitCode);

/// Gives `app` the program's name and all its commands with their options; manual pages and
/// completions are made from the same definitions. `app` refers to `chosen` as long as it lives.
void DefineCommands(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                    Command& chosen);

/// Each adds one command to the program; when the words name it, `chosen` is set while they are
/// parsed. `filesBehindDashes` are the words behind "--": files whatever they begin with.
void AddValidateCommand(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                        Command& chosen);
void AddCollectCommand(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                       Command& chosen);
void AddRulesCommand(CLI::App& app, const std::vector<std::string>& filesBehindDashes,
                     Command& chosen);
void AddSchemaCommand(CLI::App& app, Command& chosen);

/// Lets an option be given several times with one value each, so that it does not take the words
/// behind it for more of its values.
CLI::Option* Repeatable(CLI::Option* option);

} // namespace LandscapeValidator
