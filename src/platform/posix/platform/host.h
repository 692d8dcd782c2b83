// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a command-line host needs of the system beyond the standard library. Built apart from the
// library: its exported surface does not grow by what only a program needs.
#include <memory>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// Holds a folder for one process at a time. Released by destruction and by the end of the
/// process, however it ends.
class IFolderLock {
public:
    virtual ~IFolderLock() = default;
};

enum class LockOutcome { Taken, HeldElsewhere, Failed };

/// Takes the lock of an existing folder by a hidden file in it. `message` says why it failed.
LockOutcome LockFolder(const std::string& folder, std::unique_ptr<IFolderLock>& lock,
                       std::string& message);

/// Puts the null device where the caller has closed a standard stream, so that no file of ours
/// takes its number. Writing to a stream that was closed still fails.
void FillClosedStandardStreams();

/// Writes `text` to standard error; needs no memory.
void WriteError(std::string_view text) noexcept;
/// The same, and ends the process without any further work.
[[noreturn]] void WriteErrorAndEnd(std::string_view text, int exitCode) noexcept;

/// From now on a null pointer that somebody uses right after a failed allocation ends the process
/// with `text` and `exitCode`, not with a signal: not all libraries look at what they were given.
/// Every other fault of that kind goes on to whom it went before. `text` lives as long as the
/// process.
void EndOnMissingMemory(std::string_view text, int exitCode);

/// From now on writing beyond a file-size limit fails as on a full disk.
void LetLimitsFailWrites();

/// From now on writing to a pipe or a connection that nobody reads any more fails, instead of
/// ending the program before its files are written.
void LetClosedPipesFailWrites();

/// From now on a signal that asks the program to stop (Ctrl-C, termination, hang-up) only sets a
/// flag, so that work files can be cleared away; the second one ends the program.
void WatchStopSignals();
/// From now on the first one ends the program again.
void LetStopSignalsEnd();
/// True once such a signal has come.
bool IsStopRequested();

bool IsStandardOutputTerminal();
bool IsStandardErrorTerminal();

/// Starts the user's browser (or what stands for it) on a file and does not wait for it. False
/// with the reason when nothing could be started.
bool OpenInBrowser(const std::string& path, std::string& reason);

} // namespace Nax::FrontEnd::XMLDB
