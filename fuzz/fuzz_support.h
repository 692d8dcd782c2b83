// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// What libFuzzer, or replay_main.cpp, calls with each input. Always 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Helpers of the fuzz targets. One thread.
namespace Fuzzing {

/// Ends the process when a property does not hold, so that the input counts as a crash.
void Require(bool holds, std::string_view property, std::string_view detail = {});

/// A folder of this process, removed at its end: in TMPDIR, else on the RAM disk where there is
/// one, else in the system's folder for temporary files.
class CScratch {
public:
    CScratch();
    CScratch(const CScratch&) = delete;
    CScratch& operator=(const CScratch&) = delete;
    ~CScratch();

    const std::string& Folder() const { return m_folder; }
    std::string Path(std::string_view name) const { return m_folder + "/" + std::string(name); }
    /// Writes a file and returns its path.
    std::string Write(std::string_view name, std::string_view content) const;

private:
    std::string m_folder;
};

/// Whole content of a file; not to be missing.
std::string ReadFile(const std::string& path);

/// Hands out an input piece by piece; past its end come zeros and empty texts.
class CPieces {
public:
    CPieces(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    std::uint8_t Byte();
    /// Up to the next NUL, which is skipped.
    std::string_view Text();
    std::string_view Rest() const { return m_rest; }

private:
    std::string_view m_rest;
};

} // namespace Fuzzing
