// SPDX-License-Identifier: Apache-2.0
// Configuration files: a message that names file and line, or values; what --show-config lists is a
// configuration file that gives the same list, and so does a command line of the same values.
#include "fuzz_support.h"

#include "command_line.h"
#include "configuration_file.h"

#include <algorithm>
#include <sstream>

namespace {

using namespace LandscapeValidator;
using Fuzzing::Require;

struct SAnswer {
    bool known = false; ///< the configuration could be used
    std::string out;
    std::string err;
};

SAnswer Show(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    ExitCode exitCode = ExitCode::Clean;
    const Command command = ParseCommandLine(words, out, err, exitCode);
    SAnswer answer;
    answer.known = static_cast<bool>(command);
    if (command) {
        exitCode = command(out, err);
    }
    Require(exitCode == (answer.known ? ExitCode::Clean : ExitCode::Failure),
            "the exit code tells whether it could be used", err.str());
    answer.out = out.str();
    answer.err = err.str();
    return answer;
}

/// Without the origins, which are behind the last " # " of each line, and without the folder, which
/// names of the file get and defaults do not have.
std::string ValuesOf(const std::string& list, const std::string& folder) {
    std::istringstream lines(list);
    std::string values;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("# ")) {
            values += line.substr(0, line.rfind(" # ")) + '\n';
        }
    }
    const std::string prefix = folder + '/';
    for (std::size_t at = values.find(prefix); at != std::string::npos; at = values.find(prefix)) {
        values.erase(at, prefix.size());
    }
    values.erase(std::remove(values.begin(), values.end(), ' '), values.end());
    return values;
}

SAnswer ShowConfiguration(const std::string& path) {
    return Show({"--config", path, "--show-config"});
}

/// The values of a file that --show-config has made, as a command line.
std::vector<std::string> WordsOf(const std::string& path) {
    std::vector<std::string> words{"--no-config", "--show-config"};
    std::vector<std::string> files{"--"};
    for (const auto& [key, value] : ReadConfigurationFile(path).values) {
        for (const std::string& text : value.values) {
            if (key == "files") {
                files.push_back(text);
            } else {
                words.push_back("--" + key + "=" + text);
            }
        }
    }
    words.insert(words.end(), files.begin(), files.end());
    return words;
}

/// What only a run looks at: it is refused with a message, or known.
void CheckRun(const std::string& path) {
    std::ostringstream out;
    std::ostringstream err;
    ExitCode exitCode = ExitCode::Clean;
    const Command run = ParseCommandLine({"--config", path, "any.xml"}, out, err, exitCode);
    Require(run != nullptr || (exitCode == ExitCode::Failure && !err.str().empty()),
            "a run that is refused says why", err.str());
}

void CheckReader(const std::string& path) {
    try {
        const SConfigurationFile file = ReadConfigurationFile(path);
        for (const auto& [key, value] : file.values) {
            Require(value.line > 0 && (value.list || value.values.size() == 1),
                    "each key has its line and its value", key);
        }
    } catch (const CConfigurationError& error) {
        const std::string message = error.what();
        Require(message.starts_with(path + ":") || message.find("1 MB") != std::string::npos,
                "the message names file and line", message);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzzing::CScratch scratch;
    const std::string path =
        scratch.Write("read.toml", {reinterpret_cast<const char*>(data), size});
    CheckReader(path);
    const SAnswer answer = ShowConfiguration(path);
    if (!answer.known) {
        Require(answer.err.find(path) != std::string::npos, "the message names the file",
                answer.err);
        return 0;
    }
    const std::string shown = scratch.Write("shown.toml", answer.out);
    const SAnswer again = ShowConfiguration(shown);
    Require(again.known, "what is shown is a configuration file", answer.out + again.err);
    Require(ValuesOf(again.out, scratch.Folder()) == ValuesOf(answer.out, scratch.Folder()),
            "it holds the same values", answer.out + "\n---\n" + again.out);
    const SAnswer words = Show(WordsOf(shown));
    Require(words.known &&
                ValuesOf(words.out, scratch.Folder()) == ValuesOf(answer.out, scratch.Folder()),
            "a command line gives the same values", answer.out + "\n---\n" + words.out + words.err);
    CheckRun(path);
    return 0;
}
