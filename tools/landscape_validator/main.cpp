// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"
#include "platform/host.h"
#include "printable.h"

#include <naxfewxmldb/memory.h>

#include <exception>
#include <iostream>
#include <mutex>
#include <new>
#include <string>
#include <vector>

namespace {

constexpr char kOutOfMemory[] = "landscape-validator: out of memory\n";

/// Every failure is kept in mind, also one that somebody gets over: results may lack something.
void NoteAndThrow() {
    Nax::FrontEnd::XMLDB::NoteFailedAllocation();
    throw std::bad_alloc();
}

/// The system loads what it needs to throw through its own functions when it first does so, and
/// aborts when it has no memory for that: now it has.
bool PrepareToThrow() noexcept {
    std::once_flag once;
    try {
        std::call_once(once, [] { throw std::bad_alloc(); });
    } catch (const std::bad_alloc&) {
        return true;
    }
    return false;
}

// Before main, when there is memory or no program.
[[maybe_unused]] const bool g_prepared = PrepareToThrow();

/// Nothing is half-written under its final name at any time, so ending here is sound.
[[noreturn]] void EndAtOnce() noexcept {
    Nax::FrontEnd::XMLDB::WriteErrorAndEnd(
        Nax::FrontEnd::XMLDB::GetFailedAllocations() != 0
            ? kOutOfMemory
            : "landscape-validator: ended because of an internal error\n",
        static_cast<int>(LandscapeValidator::ExitCode::Failure));
}

} // namespace

int main(int argc, char** argv) {
    using namespace LandscapeValidator;
    std::set_new_handler(&NoteAndThrow);
    std::set_terminate(&EndAtOnce);
    Nax::FrontEnd::XMLDB::EndOnMissingMemory(
        kOutOfMemory, static_cast<int>(LandscapeValidator::ExitCode::Failure));
    Nax::FrontEnd::XMLDB::FillClosedStandardStreams();
    Nax::FrontEnd::XMLDB::LetLimitsFailWrites();
    ExitCode exitCode = ExitCode::Failure;
    try {
        // Before any output: the library writes files through streams of its own.
        std::ios::sync_with_stdio(false);
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        if (const Command command = ParseCommandLine(arguments, std::cout, std::cerr, exitCode)) {
            exitCode = command(std::cout, std::cerr);
        }
    } catch (const std::bad_alloc&) {
        Nax::FrontEnd::XMLDB::NoteFailedAllocation();
    } catch (const std::exception& exception) {
        std::cerr << kMessageStart << PrintableLines(exception.what()) << '\n';
        exitCode = ExitCode::Failure;
    }
    if (Nax::FrontEnd::XMLDB::GetFailedAllocations() != 0) {
        Nax::FrontEnd::XMLDB::WriteError(kOutOfMemory);
        exitCode = ExitCode::Failure;
    }
    return static_cast<int>(exitCode);
}
