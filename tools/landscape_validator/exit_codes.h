// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace LandscapeValidator {

/// How the program ends. Scripts rely on the numbers.
enum class ExitCode : int {
    Clean = 0,    ///< nothing at or above the threshold
    Findings = 1, ///< findings at or above the threshold
    Failure = 2,  ///< the job could not be done, or not for every file named
};

/// The same for help texts.
inline constexpr char kExitCodeHelp[] = R"(
Exit codes:
  0  nothing at or above the threshold
  1  findings at or above the threshold (--fail-on)
  2  the job could not be done, or not for every FILE
)";

} // namespace LandscapeValidator
