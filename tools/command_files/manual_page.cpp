// SPDX-License-Identifier: Apache-2.0
#include "writers.h"

#include <cctype>
#include <set>
#include <sstream>
#include <utility>

namespace LandscapeValidator {

namespace {

constexpr char kProgram[] = "landscape\\-validator";
/// The command that is meant when the first word names none.
constexpr char kDefaultCommand[] = "validate";

std::string Roff(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
            case '\\':
                escaped += "\\e";
                break;
            case '-':
                escaped += "\\-";
                break;
            case '.':
            case '\'':
                escaped += escaped.empty() ? "\\&" : ""; // else a request
                escaped += letter;
                break;
            default:
                escaped += letter;
        }
    }
    return escaped;
}

/// Running text, in lines of a length that all readers of manual pages accept.
std::string Text(const std::string& text) {
    constexpr std::size_t kWidth = 78;
    std::string wrapped;
    std::string line;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::string escaped = Roff(word);
        if (!line.empty() && line.size() + escaped.size() >= kWidth) {
            wrapped += line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + escaped;
    }
    return wrapped + line;
}

std::string NamesOf(const SOptionModel& option) {
    std::string names;
    for (const std::string& name : option.names) {
        names += (names.empty() ? "\\fB" : ", \\fB") + Roff(name) + "\\fR";
    }
    return option.value.empty() ? names : names + " \\fI" + Roff(option.value) + "\\fR";
}

/// Help texts say "(repeatable)" in passing; a page has a sentence, or a type, for it.
constexpr char kRepeatable[] = " (repeatable)";

std::string Entry(const std::string& tag, const SOptionModel& option) {
    std::string description = option.description;
    const std::size_t mark = description.find(kRepeatable);
    if (mark != std::string::npos) {
        description.erase(mark, sizeof kRepeatable - 1);
    }
    return ".TP\n" + tag + "\n" + Text(description) + ".\n";
}

std::string OptionEntry(const SOptionModel& option) {
    std::string entry = Entry(NamesOf(option), option);
    if (!option.preset.empty()) {
        entry += "The default is\n.BR " + Roff(option.preset) + " .\n";
    }
    if (option.repeatable && option.description.find("may be repeated") == std::string::npos) {
        entry += "May be given several times.\n";
    }
    return entry;
}

std::string Synopsis(const SCommandModel& command) {
    std::string line = std::string("\\fB") + kProgram + " " + Roff(command.path) + "\\fR";
    line += command.options.empty() ? "" : " [\\fIoptions\\fR]";
    for (const SOptionModel& operand : command.operands) {
        const std::string words =
            "\\fI" + Roff(operand.value) + "\\fR" + (operand.repeatable ? "..." : "");
        line += operand.required ? " " + words : " [" + words + "]";
    }
    return line;
}

/// The sections of a help text's foot: heading and lines. Their headings end with a colon.
std::vector<std::pair<std::string, std::string>> SectionsOf(const std::string& footer) {
    std::vector<std::pair<std::string, std::string>> sections;
    std::istringstream lines(footer);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.front() != ' ' && line.back() == ':') {
            sections.emplace_back(line.substr(0, line.size() - 1), "");
        } else if (!sections.empty() && !line.empty() && line.front() == ' ') {
            sections.back().second += line.substr(line.find_first_not_of(' ') == 2 ? 2 : 0) + "\n";
        } else if (!sections.empty() && !line.empty()) {
            sections.emplace_back("", ""); // running text belongs to no section
        }
    }
    return sections;
}

std::string Literal(const std::string& lines) {
    std::string text = ".nf\n";
    std::istringstream input(lines);
    for (std::string line; std::getline(input, line);) {
        text += Roff(line) + "\n";
    }
    return text + ".fi\n";
}

/// The program's own exit codes and examples: what stands between is the help of a command.
std::string ProgramFooter(const SCommandModel& program) {
    std::string text;
    for (const auto& [heading, lines] : SectionsOf(program.footer)) {
        if (heading == "Exit codes") {
            text += ".SH EXIT STATUS\n" + Literal(lines);
        } else if (heading == "Examples") {
            text += ".SH EXAMPLES\n" + Literal(lines);
        }
    }
    return text;
}

std::string CommandFooter(const SCommandModel& command, const SCommandModel& program) {
    std::string text;
    const auto known = SectionsOf(program.footer);
    for (const auto& section : SectionsOf(command.footer)) {
        bool repeated = section.second.empty();
        for (const auto& one : known) {
            repeated = repeated || one == section;
        }
        if (!repeated) {
            text += ".PP\n.B " + Roff(section.first) + ":\n.PP\n.RS 4\n" + Literal(section.second) +
                    ".RE\n";
        }
    }
    return text;
}

std::string Commands(const SCommandModel& program) {
    std::string text;
    for (const SCommandModel* command : AllCommands(program)) {
        if (command->path.empty() || !command->commands.empty()) {
            continue; // what only groups commands takes no options of interest
        }
        text += ".SS " + Synopsis(*command) + "\n" + Text(command->description) + ".\n";
        for (const SOptionModel& operand : command->operands) {
            text += Entry("\\fI" + Roff(operand.value) + "\\fR", operand);
        }
        for (const SOptionModel& option : command->options) {
            if (option.names.back() != "--help" && option.names.back() != "--version") {
                text += OptionEntry(option);
            }
        }
        text += CommandFooter(*command, program);
    }
    return text;
}

std::string Options(const SCommandModel& program) {
    std::string text;
    for (const SOptionModel& option : program.options) {
        text += OptionEntry(option);
    }
    return text;
}

std::string KeyEntry(const std::string& key, const SOptionModel& option, const std::string& type) {
    const std::string value = option.value.empty() || option.value == option.names.front()
                                  ? type
                                  : type + ", \\fI" + Roff(option.value) + "\\fR";
    return Entry("\\fB" + Roff(key) + "\\fR (" + value + ")", option);
}

/// The keys of a configuration file: every option of the default command, but those that choose the
/// file itself or that end the program.
std::string Keys(const SCommandModel& program) {
    const std::set<std::string> others = {"--config", "--no-config", "--show-config", "--help",
                                          "--version"};
    std::string text;
    for (const SCommandModel& command : program.commands) {
        if (command.path != kDefaultCommand) {
            continue;
        }
        for (const SOptionModel& operand : command.operands) {
            text += KeyEntry("files", operand, "list");
        }
        for (const SOptionModel& option : command.options) {
            const std::string& name = option.names.back();
            if (others.count(name) == 0 && name.rfind("--", 0) == 0) {
                const char* const type = option.value.empty() ? "flag"
                                         : option.repeatable  ? "list"
                                                              : "value";
                text += KeyEntry(name.substr(2), option, type);
            }
        }
    }
    return text;
}

} // namespace

Parts ManualPageParts(const SCommandModel& program) {
    return {{"%COMMANDS%", Commands(program)},
            {"%KEYS%", Keys(program)},
            {"%OPTIONS%", Options(program)},
            {"%FOOTER%", ProgramFooter(program)}};
}

} // namespace LandscapeValidator
