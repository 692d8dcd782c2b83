// SPDX-License-Identifier: Apache-2.0
#pragma once

// Recursive mutexes shared by the processes of one user through their name. The caller owns the
// handle and closes it; the mutex itself outlives it, since other processes may hold it. A mutex
// whose owner ended is handed on and reported as abandoned. Reasons of failure: GetLastError.
#include "platform/basic_types.h"

inline constexpr DWORD INFINITE = 0xFFFFFFFFU;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80U;
inline constexpr DWORD WAIT_TIMEOUT = 0x102U;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFU;

/// Opens or creates the mutex; a null name gives one of its own for this process. `security` is
/// reserved, pass null: only processes of the same user reach the mutex. Null on failure.
HANDLE CreateMutexA(const void* security, BOOL initialOwner, const char* name) noexcept;

/// Takes the mutex, waiting up to `milliseconds` (INFINITE for ever, 0 not at all).
DWORD WaitForSingleObject(HANDLE mutex, DWORD milliseconds) noexcept;

/// Gives back one WaitForSingleObject of the calling thread.
BOOL ReleaseMutex(HANDLE mutex) noexcept;

/// Closes the handle. A mutex taken through it stays taken until its thread ends.
BOOL CloseHandle(HANDLE mutex) noexcept;
