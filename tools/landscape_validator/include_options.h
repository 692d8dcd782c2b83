// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "include_resolver.h"

namespace CLI {
class App;
} // namespace CLI

namespace LandscapeValidator {

/// Adds the options that say how includes are followed; they write to `options`, which must live as
/// long as the command.
void AddIncludeOptions(CLI::App& command, SIncludeOptions& options);

/// Turns the words of --include-root, which the command has checked, into `roots`.
void ReadIncludeRoots(SIncludeOptions& options);

} // namespace LandscapeValidator
