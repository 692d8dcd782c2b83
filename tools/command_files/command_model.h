// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace LandscapeValidator {

/// What may stand as the value of an option, or of one side of "KEY=VALUE".
struct SValueKind {
    enum class Kind { None, Words, File, Landscape, Folder, Rule };

    Kind kind = Kind::None;
    std::vector<std::string> words; ///< of Kind::Words
};

struct SOptionModel {
    std::vector<std::string> names; ///< with their dashes, short ones first; of an operand its name
    std::string value;              ///< how the help shows the value, "LEVEL"; empty for a flag
    std::string preset; ///< the value when the option is not given, if the help tells it
    std::string description;
    bool required = false;
    bool repeatable = false;
    bool pair = false; ///< the value is KEY=VALUE
    SValueKind first;  ///< the value, or the key of a pair
    SValueKind second; ///< the value of a pair
};

struct SCommandModel {
    std::string path; ///< words after the program's name, "rules list"; empty for the program
    std::string description;
    std::string footer;
    std::vector<SOptionModel> options;
    std::vector<SOptionModel> operands;
    std::vector<SCommandModel> commands;
};

/// Reads the definitions of the command line, commands inside commands included. Kinds of values
/// come from the names that the help gives them (FILE, DIR, ID, ...) and from the checks.
SCommandModel ReadCommand(CLI::App& app, const std::string& path = "");

/// The command and all inside it, outer ones first.
std::vector<const SCommandModel*> AllCommands(const SCommandModel& program);

} // namespace LandscapeValidator
