// SPDX-License-Identifier: Apache-2.0
#include "command_model.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace LandscapeValidator {

namespace {

using Kind = SValueKind::Kind;

/// The words that a check allows. A check tells them only when it refuses something, as
/// "... not in {error,warning}", so it is given what no list contains.
std::vector<std::string> AllowedWords(CLI::Option& option) {
    std::vector<std::string> words;
    for (int index = 0;; ++index) {
        std::string refusal;
        try {
            refusal = (*option.get_validator(index))(std::string("\x01"));
        } catch (const CLI::OptionNotFound&) {
            return words;
        } catch (const CLI::ValidationError&) {
            continue; // a conversion, which knows no list
        }
        const std::size_t begin = refusal.find("not in {");
        const std::size_t end = refusal.rfind('}');
        if (begin == std::string::npos || end == std::string::npos) {
            continue;
        }
        std::istringstream list(refusal.substr(begin + 8, end - begin - 8));
        for (std::string word; std::getline(list, word, ',');) {
            words.push_back(word);
        }
    }
}

/// The words that a description lists behind its colon, "...: error, warning, info (repeatable)",
/// for values that no check but the command itself looks at. Empty when what stands there is no
/// list.
std::vector<std::string> ListedWords(const std::string& description) {
    const std::size_t colon = description.find(": ");
    if (colon == std::string::npos) {
        return {};
    }
    std::string list = description.substr(colon + 2);
    list = list.substr(0, list.find_first_of(";(."));
    for (std::size_t at = list.find(" or "); at != std::string::npos; at = list.find(" or ")) {
        list.replace(at, 4, ", ");
    }
    std::vector<std::string> words;
    std::istringstream input(list);
    for (std::string word; std::getline(input, word, ',');) {
        word.erase(0, word.find_first_not_of(' '));
        word.erase(word.find_last_not_of(' ') + 1);
        if (word.find_first_not_of("abcdefghijklmnopqrstuvwxyz") != std::string::npos) {
            return {};
        }
        words.push_back(word);
    }
    return words.size() > 1 ? words : std::vector<std::string>();
}

SValueKind KindOf(const std::string& name) {
    if (name == "DIR" || name == "FOLDER") {
        return {Kind::Folder, {}};
    }
    if (name == "FILE" || name == "PATH") {
        return {Kind::File, {}};
    }
    return {name == "ID" || name == "RULE" ? Kind::Rule : Kind::None, {}};
}

/// Splits the help's "LEVEL [error]" into name and preset.
void ReadValue(SOptionModel& model, const std::string& text) {
    const std::size_t bracket = text.find(" [");
    model.value = text.substr(0, bracket);
    if (bracket != std::string::npos && text.back() == ']') {
        model.preset = text.substr(bracket + 2, text.size() - bracket - 3);
    }
    const std::size_t equals = model.value.find('=');
    model.pair = equals != std::string::npos;
    model.first = KindOf(model.value.substr(0, equals));
    if (model.pair) {
        model.second = KindOf(model.value.substr(equals + 1));
    }
}

SOptionModel ReadOption(CLI::Option& option) {
    SOptionModel model;
    if (option.get_positional()) {
        model.names = {option.get_single_name()};
    }
    for (const std::string& name : option.get_snames()) {
        model.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        model.names.push_back("--" + name);
    }
    model.description = option.get_description();
    model.required = option.get_required();
    model.repeatable = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll ||
                       option.get_items_expected_max() > 1;
    if (option.get_items_expected_max() == 0) {
        return model;
    }
    const std::string text = option.get_option_text();
    ReadValue(model, text.empty() ? option.get_type_name() : text);
    SValueKind& last = model.pair ? model.second : model.first;
    std::vector<std::string> words = AllowedWords(option);
    if (words.empty() && last.kind == Kind::None) {
        words = ListedWords(model.description);
    }
    if (!words.empty()) {
        last = {Kind::Words, words};
    }
    return model;
}

SOptionModel ReadOperand(CLI::Option& option) {
    SOptionModel model = ReadOption(option);
    model.value = model.names.front();
    if (model.first.kind != Kind::Words) {
        model.first = KindOf(model.value);
    }
    if (model.first.kind == Kind::File) {
        // A rules file is told from a landscape by its help only.
        const bool landscape = model.description.find("andscape") != std::string::npos;
        model.first.kind = landscape ? Kind::Landscape : Kind::File;
    }
    return model;
}

/// A side of a pair is named like another option's value (FORMAT=FILE beside -f FORMAT): its words
/// are that option's. "never" is a threshold, not a severity that a finding can have.
void FillPairs(SCommandModel& command) {
    const auto fill = [&command](SValueKind& side, const std::string& name) {
        for (const SOptionModel& other : command.options) {
            if (side.kind == Kind::None && !other.pair && other.value == name &&
                other.first.kind == Kind::Words) {
                side = other.first;
                side.words.erase(std::remove(side.words.begin(), side.words.end(), "never"),
                                 side.words.end());
            }
        }
    };
    for (SOptionModel& option : command.options) {
        if (option.pair) {
            const std::size_t equals = option.value.find('=');
            fill(option.first, option.value.substr(0, equals));
            fill(option.second, option.value.substr(equals + 1));
        }
    }
}

void AddCommands(const SCommandModel& command, std::vector<const SCommandModel*>& all) {
    all.push_back(&command);
    for (const SCommandModel& inner : command.commands) {
        AddCommands(inner, all);
    }
}

} // namespace

SCommandModel ReadCommand(CLI::App& app, const std::string& path) {
    SCommandModel model;
    model.path = path;
    model.description = app.get_description();
    model.footer = app.get_footer();
    for (CLI::Option* option : app.get_options({})) {
        if (option->get_group().empty()) {
            continue; // hidden from the help
        }
        if (option->get_positional()) {
            model.operands.push_back(ReadOperand(*option));
        } else {
            model.options.push_back(ReadOption(*option));
        }
    }
    FillPairs(model);
    for (CLI::App* inner : app.get_subcommands(nullptr)) {
        std::string words = path.empty() ? path : path + " ";
        words += inner->get_name();
        model.commands.push_back(ReadCommand(*inner, words));
    }
    return model;
}

std::vector<const SCommandModel*> AllCommands(const SCommandModel& program) {
    std::vector<const SCommandModel*> all;
    AddCommands(program, all);
    return all;
}

} // namespace LandscapeValidator
