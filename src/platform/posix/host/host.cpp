// SPDX-License-Identifier: Apache-2.0
#include "platform/host.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace Nax::FrontEnd::XMLDB {

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void RequestStop(int /*signal*/) {
    stopRequested = 1;
}

std::string_view g_missingMemory;
int g_missingMemoryCode = 0;
struct sigaction g_earlierFault = {};

void OnFault(int signal, siginfo_t* information, void* /*context*/) {
    // Far more than the members of anything that a library allocates.
    constexpr std::uintptr_t kNearNull = 4096;
    const bool isSent = information->si_code <= 0;
    // The reason of the failed allocation is still there.
    if (!isSent && errno == ENOMEM &&
        reinterpret_cast<std::uintptr_t>(information->si_addr) < kNearNull) {
        WriteErrorAndEnd(g_missingMemory, g_missingMemoryCode);
    }
    // The same instruction is tried again.
    sigaction(signal, &g_earlierFault, nullptr);
    if (isSent) {
        raise(signal);
    }
}

constexpr char kLockFile[] = ".landscape-validator.lock";

class CFolderLock : public IFolderLock {
public:
    CFolderLock(int file, std::string path) : m_file(file), m_path(std::move(path)) {}
    CFolderLock(const CFolderLock&) = delete;
    CFolderLock& operator=(const CFolderLock&) = delete;
    ~CFolderLock() override {
        // Removed while held: whoever opened it meanwhile finds another file under the name.
        unlink(m_path.c_str());
        close(m_file);
    }

private:
    int m_file;
    std::string m_path;
};

bool IsStillNamed(int file, const std::string& path) {
    struct stat held = {};
    struct stat named = {};
    return fstat(file, &held) == 0 && stat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

} // namespace

LockOutcome LockFolder(const std::string& folder, std::unique_ptr<IFolderLock>& lock,
                       std::string& message) {
    const std::string path = folder + "/" + kLockFile;
    for (;;) {
        // Somebody else's link would have the file made wherever it points to.
        const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (file < 0) {
            message = std::generic_category().message(errno);
            return LockOutcome::Failed;
        }
        if (flock(file, LOCK_EX | LOCK_NB) != 0) {
            const int code = errno;
            close(file);
            message = std::generic_category().message(code);
            return code == EWOULDBLOCK ? LockOutcome::HeldElsewhere : LockOutcome::Failed;
        }
        if (IsStillNamed(file, path)) {
            lock = std::make_unique<CFolderLock>(file, path);
            return LockOutcome::Taken;
        }
        close(file);
    }
}

void FillClosedStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            // The lowest free number is the closed one; read-only makes writing fail.
            open("/dev/null", stream == STDIN_FILENO ? O_RDWR : O_RDONLY);
        }
    }
}

void WriteError(std::string_view text) noexcept {
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(written);
}

void WriteErrorAndEnd(std::string_view text, int exitCode) noexcept {
    WriteError(text);
    _exit(exitCode);
}

void EndOnMissingMemory(std::string_view text, int exitCode) {
    g_missingMemory = text;
    g_missingMemoryCode = exitCode;
    struct sigaction action = {};
    action.sa_sigaction = &OnFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &g_earlierFault);
}

void LetLimitsFailWrites() {
    std::signal(SIGXFSZ, SIG_IGN);
}

void LetClosedPipesFailWrites() {
    std::signal(SIGPIPE, SIG_IGN);
}

void WatchStopSignals() {
    struct sigaction action = {};
    action.sa_handler = &RequestStop;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction earlier = {};
        // What the starter has switched off stays off.
        if (sigaction(signal, nullptr, &earlier) == 0 && earlier.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
}

void LetStopSignalsEnd() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == &RequestStop) {
            std::signal(signal, SIG_DFL);
        }
    }
}

bool IsStopRequested() {
    return stopRequested != 0;
}

bool IsStandardOutputTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

bool IsStandardErrorTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

bool OpenInBrowser(const std::string& path, std::string& reason) {
    // The opener hands over to the browser and ends; its own chatter is of no use to anybody.
    posix_spawn_file_actions_t actions;
    if (const int code = posix_spawn_file_actions_init(&actions); code != 0) {
        reason = std::generic_category().message(code);
        return false;
    }
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    std::string program = "xdg-open";
    std::string argument = path;
    char* arguments[] = {program.data(), argument.data(), nullptr};
    pid_t child = 0;
    const int result = posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    reason = result == 0 ? std::string() : std::generic_category().message(result);
    return result == 0;
}

} // namespace Nax::FrontEnd::XMLDB
