// SPDX-License-Identifier: Apache-2.0
#include "writers.h"

namespace LandscapeValidator {

namespace {

std::string ValueText(const SOptionModel& option) {
    return KindText(option.first) + (option.pair ? "=" + KindText(option.second) : "");
}

std::string Case(const std::string& patterns, const std::string& text) {
    return "    " + patterns + ") echo '" + text + "' ;;\n";
}

std::string OptionNames(const SCommandModel& command) {
    std::string names;
    for (const SOptionModel& option : command.options) {
        for (const std::string& name : option.names) {
            names += (names.empty() ? "" : " ") + name;
        }
    }
    return names;
}

std::string CommandNames(const SCommandModel& command) {
    std::string names;
    for (const SCommandModel& inner : command.commands) {
        names += (names.empty() ? "" : " ") + inner.path.substr(inner.path.rfind(' ') + 1);
    }
    return names;
}

/// One line for each option that takes a value, and one for the operands.
std::string ValueCases(const SCommandModel& command) {
    std::string cases;
    for (const SOptionModel& option : command.options) {
        std::string patterns;
        for (const std::string& name : option.names) {
            patterns += (patterns.empty() ? "'" : " | '") + command.path + " " + name + "'";
        }
        cases += option.value.empty() ? "" : Case(patterns, ValueText(option));
    }
    if (!command.operands.empty()) {
        const SOptionModel& operand = command.operands.front();
        cases += Case("'" + command.path + " operand'", ValueText(operand));
    }
    return cases;
}

} // namespace

std::string KindText(const SValueKind& kind) {
    std::string text = "words";
    switch (kind.kind) {
        case SValueKind::Kind::Words:
            for (const std::string& word : kind.words) {
                text += " " + word;
            }
            return text;
        case SValueKind::Kind::File:
            return "file";
        case SValueKind::Kind::Landscape:
            return "landscape";
        case SValueKind::Kind::Folder:
            return "folder";
        case SValueKind::Kind::Rule:
            return "rule";
        case SValueKind::Kind::None:
            break;
    }
    return "none";
}

Parts BashParts(const SCommandModel& program) {
    Parts parts;
    for (const SCommandModel* command : AllCommands(program)) {
        if (!command->path.empty()) {
            parts["%COMMAND_PATHS%"] += "    '" + command->path + "') return 0 ;;\n";
            parts["%OPTIONS%"] += Case("'" + command->path + "'", OptionNames(*command));
            parts["%VALUES%"] += ValueCases(*command);
        }
        if (!command->commands.empty()) {
            parts["%COMMANDS%"] += Case("'" + command->path + "'", CommandNames(*command));
        }
    }
    return parts;
}

} // namespace LandscapeValidator
