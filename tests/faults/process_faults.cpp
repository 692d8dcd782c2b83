// SPDX-License-Identifier: Apache-2.0
// Processes and threads that the system refuses to start, and children whose end it does not tell.
#include <dlfcn.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "fault_plan.h"

using FaultPlan::Kind;
using FaultPlan::MustFail;

namespace {

template <typename TFunction>
TFunction Next(TFunction /*same*/, const char* name) {
    const FaultPlan::CUncounted uncounted;
    return reinterpret_cast<TFunction>(dlsym(RTLD_NEXT, name));
}

/// As the system says it: no more processes or threads.
bool IsRefused(Kind kind) {
    return MustFail(kind);
}

} // namespace

extern "C" {

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]) {
    static const auto next = Next(&posix_spawn, "posix_spawn");
    return IsRefused(Kind::Process)
               ? EAGAIN
               : next(child, path, actions, attributes, arguments, environment);
}

int posix_spawnp(pid_t* child, const char* file, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const arguments[],
                 char* const environment[]) {
    static const auto next = Next(&posix_spawnp, "posix_spawnp");
    return IsRefused(Kind::Process)
               ? EAGAIN
               : next(child, file, actions, attributes, arguments, environment);
}

pid_t fork() noexcept {
    static const auto next = Next(&fork, "fork");
    if (IsRefused(Kind::Process)) {
        errno = EAGAIN;
        return -1;
    }
    return next();
}

pid_t waitpid(pid_t child, int* status, int options) {
    static const auto next = Next(&waitpid, "waitpid");
    if (MustFail(Kind::Process)) {
        errno = EINTR; // ECHILD would say that the child has ended
        return -1;
    }
    return next(child, status, options);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
    static const auto next = Next(&pthread_create, "pthread_create");
    return IsRefused(Kind::Thread) ? EAGAIN : next(thread, attributes, start, argument);
}

} // extern "C"
