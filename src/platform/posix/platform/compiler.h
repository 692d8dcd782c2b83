// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Lets the compiler check a printf-style call: position of the format and of its first argument,
/// counted from 1; in member functions `this` counts.
#define NAX_PRINTF_FORMAT(formatPosition, firstArgument) \
    __attribute__((format(printf, formatPosition, firstArgument)))
