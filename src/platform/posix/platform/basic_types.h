// SPDX-License-Identifier: Apache-2.0
#pragma once

// The platform's plain types and constants, under the names they have where they are native.
#include <cstdint>

using BOOL = int;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using HANDLE = void*;
using HWND = void*;
using HMODULE = void*;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr int MAX_PATH = 260;

/// The calling thread's last error, in errno numbering. Set by a failing operation, left alone by
/// a successful one.
DWORD GetLastError() noexcept;
void SetLastError(DWORD code) noexcept;
