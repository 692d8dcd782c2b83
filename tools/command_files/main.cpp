// SPDX-License-Identifier: Apache-2.0
// Writes what is made from the program's own definitions: its manual page and its completions.
#include "command_line.h"
#include "writers.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>

namespace {

using namespace LandscapeValidator;

/// Copies a template; each line that names a part becomes that part.
void Fill(const std::string& templateName, const Parts& parts, const std::string& outputName) {
    std::ifstream input(templateName, std::ios::binary);
    std::ofstream output(outputName, std::ios::binary);
    for (std::string line; std::getline(input, line);) {
        const auto part = parts.find(line);
        if (part != parts.end()) {
            output << part->second;
        } else {
            output << line << '\n';
        }
    }
    output.close();
    if (!input.eof() || !output) {
        throw std::runtime_error("cannot make " + outputName + " from " + templateName);
    }
}

void WriteFile(const std::vector<std::string>& words) {
    const std::map<std::string, Parts (*)(const SCommandModel&)> writers = {
        {"man", ManualPageParts}, {"bash", BashParts}, {"zsh", ZshParts}};
    if (words.size() != 3 || writers.count(words[0]) == 0) {
        throw std::invalid_argument("usage: command_files man|bash|zsh TEMPLATE OUTPUT");
    }
    CLI::App app;
    Command chosen;
    DefineCommands(app, {}, chosen);
    Fill(words[1], writers.at(words[0])(ReadCommand(app)), words[2]);
}

} // namespace

int main(int argc, char** argv) {
    try {
        WriteFile(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
        return 2;
    }
    return 0;
}
