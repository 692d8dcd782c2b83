// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string_view>

#include "trace_probe.h"

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "--trace-probe") {
        return RunTraceProbe();
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
