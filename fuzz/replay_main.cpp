// SPDX-License-Identifier: Apache-2.0
// Runs a fuzz target over every file of the folders that are named, without libFuzzer: seeds and
// past crashes are tests of every build.
#include "fuzz_support.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    for (int index = 1; index < argc; ++index) {
        std::error_code noFolder; // a target that never crashed has none
        for (const auto& entry : fs::directory_iterator(argv[index], noFolder)) {
            files.push_back(entry.path().string());
        }
    }
    if (files.empty()) {
        std::cerr << "no inputs to replay\n";
        return 1;
    }
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) {
        std::cout << file << std::endl; // the last one is the one that crashed
        const std::string input = Fuzzing::ReadFile(file);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    std::cout << files.size() << " inputs replayed\n";
    return 0;
}
