// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"
#include "platform/host.h"

#include <exception>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    using namespace LandscapeValidator;
    Nax::FrontEnd::XMLDB::FillClosedStandardStreams();
    Nax::FrontEnd::XMLDB::LetLimitsFailWrites();
    // Before any output: the library writes files through streams of its own.
    std::ios::sync_with_stdio(false);
    ExitCode exitCode = ExitCode::Failure;
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        if (const Command command = ParseCommandLine(arguments, std::cout, std::cerr, exitCode)) {
            exitCode = command(std::cout, std::cerr);
        }
    } catch (const std::exception& exception) {
        std::cerr << "landscape-validator: " << exception.what() << '\n';
        exitCode = ExitCode::Failure;
    }
    return static_cast<int>(exitCode);
}
