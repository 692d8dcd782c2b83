// SPDX-License-Identifier: Apache-2.0
#include "writers.h"

namespace LandscapeValidator {

namespace {

/// Text for inside single quotes, with what _arguments and _describe read as their own escaped.
std::string Quoted(const std::string& text) {
    std::string quoted;
    for (const char letter : text) {
        if (letter == '\'') {
            quoted += "'\\''";
            continue;
        }
        if (letter == ':' || letter == '[' || letter == ']' || letter == '\\') {
            quoted += '\\';
        }
        quoted += letter;
    }
    return quoted;
}

std::string Action(const SOptionModel& option) {
    std::string call = option.pair ? "pair" : "offer";
    call = "_landscape-validator_" + call + " \"" + KindText(option.first) + "\"";
    call += option.pair ? " \"" + KindText(option.second) + "\"" : "";
    return ":" + Quoted(option.value) + ":{" + call + "}";
}

/// One option as _arguments takes it: '(-o --output)'{-o+,--output=}'[text]:DIR:{action}'.
std::string OptionArgument(const SOptionModel& option) {
    std::string excluded;
    std::string forms;
    for (const std::string& name : option.names) {
        const std::string form = option.value.empty() ? "" : (name[1] == '-' ? "=" : "+");
        excluded += (excluded.empty() ? "" : " ") + name;
        forms += forms.empty() ? "" : ",";
        forms += name;
        forms += form;
    }
    if (option.names.size() > 1) {
        forms = "{" + forms + "}";
    }
    return "'" + (option.repeatable ? "*" : "(" + excluded + ")") + "'" + forms + "'[" +
           Quoted(option.description) + "]" + (option.value.empty() ? "" : Action(option)) + "'";
}

std::string ArgumentsCase(const SCommandModel& command) {
    std::string text = "    '" + command.path + "')\n        _arguments -s -S :";
    for (const SOptionModel& option : command.options) {
        text += " \\\n            " + OptionArgument(option);
    }
    for (const SOptionModel& operand : command.operands) {
        text += std::string(" \\\n            '") + (operand.repeatable ? "*" : "") +
                Action(operand) + "'";
    }
    return text + "\n        ;;\n";
}

std::string CommandsCase(const SCommandModel& command) {
    std::string text = "    '" + command.path + "') list=(";
    for (const SCommandModel& inner : command.commands) {
        text += "\n        '" + inner.path.substr(inner.path.rfind(' ') + 1) + ":" +
                Quoted(inner.description) + "'";
    }
    return text + ") ;;\n";
}

} // namespace

Parts ZshParts(const SCommandModel& program) {
    Parts parts;
    for (const SCommandModel* command : AllCommands(program)) {
        if (!command->path.empty()) {
            parts["%COMMAND_PATHS%"] += "    '" + command->path + "') return 0 ;;\n";
            parts["%ARGUMENTS%"] += ArgumentsCase(*command);
        }
        if (!command->commands.empty()) {
            parts["%COMMANDS%"] += CommandsCase(*command);
        }
    }
    return parts;
}

} // namespace LandscapeValidator
