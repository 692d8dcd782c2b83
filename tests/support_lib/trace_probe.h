// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the test program does when it is started with "--trace-probe": writes lines through the
/// process-wide trace, whose settings a process takes only once, and returns the exit code.
int RunTraceProbe();
