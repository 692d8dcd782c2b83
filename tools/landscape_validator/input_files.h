// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace LandscapeValidator {

constexpr char kStandardInput[] = "<stdin>";

/// How the words that stand for FILE are read.
struct SInputOptions {
    std::vector<std::string> globs = {"*.xml"}; ///< which files of a folder are meant
    std::string stdinName = kStandardInput;     ///< a URL when it is one
};

struct SInputFile {
    std::string path;
    bool standardInput = false;
};

struct SInputs {
    std::vector<SInputFile> files;     ///< in order; one file may stand there twice
    std::vector<std::string> failures; ///< words that mean no file, with the reason
    std::vector<std::string> notes;    ///< what was left out
};

void AddInputOptions(CLI::App& command, SInputOptions& options);

/// Finds out which files are meant by the words of the command line.
///
/// "-" is standard input. A folder means its files that fit a pattern and are landscapes: those
/// whose outermost element is another one are left out, and those that cannot be read so far are
/// taken, since their fault must be told. A word that is no file's name but a pattern means all
/// files that fit it. What a folder or a pattern means is sorted by bytes. Wildcards do not stand
/// for a dot at the beginning; "**" stands for any folders, links to folders excepted.
SInputs FindInputs(const std::vector<std::string>& words, const SInputOptions& options);

/// Copies a stream into a file, as far as it may be read there. False with `message` when that
/// fails.
bool CopyToFile(std::istream& in, const std::string& path, std::uint64_t limit,
                std::string& message);

} // namespace LandscapeValidator
