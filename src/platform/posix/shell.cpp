// SPDX-License-Identifier: Apache-2.0
#include "platform/shell.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string_view>
#include <thread>

#include "descriptor.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "registry_query.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kPollInterval(5);
constexpr DWORD kKillWait = 200;

/// A command that was answered at once.
class CAnsweredCommand : public IShellProcess {
public:
    bool Wait(DWORD /*milliseconds*/) override { return true; }
};

class CChildProcess final : public IShellProcess {
public:
    explicit CChildProcess(pid_t child) : m_child(child) {}
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;
    ~CChildProcess() override {
        if (!HasEnded()) {
            ::kill(-m_child, SIGKILL);
            // A process that hangs in the kernel does not die at once: it is left to the system.
            Wait(kKillWait);
        }
    }

    bool Wait(DWORD milliseconds) override {
        const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
        while (!HasEnded()) {
            if (Clock::now() >= end) {
                return false;
            }
            std::this_thread::sleep_for(kPollInterval);
        }
        return true;
    }

private:
    bool HasEnded() {
        if (!m_ended) {
            const pid_t result = ::waitpid(m_child, nullptr, WNOHANG);
            // A host that ignores SIGCHLD has its children reaped by the system.
            m_ended = result == m_child || (result < 0 && errno == ECHILD);
        }
        return m_ended;
    }

    pid_t m_child;
    bool m_ended = false;
};

/// What a child gets in place of our streams and signals.
class CSpawnSetup {
public:
    explicit CSpawnSetup(int output) {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_addopen(&m_actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawnattr_init(&m_attributes);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
        sigset_t ordinary;
        ::sigemptyset(&ordinary);
        ::sigaddset(&ordinary, SIGPIPE);
        ::posix_spawnattr_setsigdefault(&m_attributes, &ordinary);
        ::posix_spawnattr_setpgroup(&m_attributes, 0);
    }
    CSpawnSetup(const CSpawnSetup&) = delete;
    CSpawnSetup& operator=(const CSpawnSetup&) = delete;
    ~CSpawnSetup() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    const posix_spawn_file_actions_t* Actions() const noexcept { return &m_actions; }
    const posix_spawnattr_t* Attributes() const noexcept { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

std::unique_ptr<IShellProcess> StartProgram(std::string program, SRegistryQuery query, int output) {
    const CSpawnSetup setup(output);
    std::string verb = "query";
    std::string option = "/v";
    const std::array<char*, 6> arguments = {program.data(), verb.data(),       query.key.data(),
                                            option.data(),  query.name.data(), nullptr};
    pid_t child = 0;
    const int result = ::posix_spawnp(&child, program.c_str(), setup.Actions(), setup.Attributes(),
                                      arguments.data(), environ);
    if (result != 0) {
        SetLastError(static_cast<DWORD>(result));
        return nullptr;
    }
    return std::make_unique<CChildProcess>(child);
}

std::unique_ptr<IShellProcess> Answer(const SRegistryQuery& query, CDescriptor& output) {
    SRegistryValue value;
    if (GetRegistryValue(query.key, query.name, &value)) {
        const std::string text = FormatRegistryAnswer(value);
        if (!WriteAll(output.Get(), text.data(), text.size()) || !output.Close()) {
            SetLastError(static_cast<DWORD>(errno));
            return nullptr;
        }
    }
    return std::make_unique<CAnsweredCommand>();
}

} // namespace

std::unique_ptr<IShellProcess> StartShellCommand(const std::string& program,
                                                 const std::string& parameters) {
    SRegistryQuery query;
    if (program != "cmd" || !ParseRegistryQuery(parameters, query)) {
        SetLastError(ENOTSUP);
        return nullptr;
    }
    CDescriptor output(
        ::open(query.output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!output.IsOpen()) {
        SetLastError(static_cast<DWORD>(errno));
        return nullptr;
    }
    const std::string other = GetEnvironmentText("NAXFEWXMLDB_REG").value_or("");
    return other.empty() ? Answer(query, output)
                         : StartProgram(other, std::move(query), output.Get());
}

} // namespace Nax::FrontEnd::XMLDB
