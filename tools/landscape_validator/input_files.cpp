// SPDX-License-Identifier: Apache-2.0
#include "input_files.h"

#include "command_line.h"
#include "platform/brief_path.h"
#include "platform/host_files.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::FitsPattern;
using Nax::FrontEnd::XMLDB::ReadRootElement;
namespace fs = std::filesystem;

namespace {

constexpr char kLandscape[] = "Landscape";
constexpr char kAnyFolders[] = "**";
constexpr std::size_t kNamedAtMost = 3;

bool HasWildcard(const std::string& text) {
    return text.find_first_of("*?[") != std::string::npos;
}

bool HasEntry(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

bool IsFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

/// Files, and links to files that are gone: that these cannot be read must be told.
bool MayBeFile(const fs::path& path, const fs::file_status& status) {
    return fs::is_regular_file(status) || (!fs::exists(status) && HasEntry(path));
}

/// Walks folders for what fits one pattern.
class CPatternWalk {
public:
    CPatternWalk(const fs::path& pattern, std::set<std::string>& found, SInputs& inputs)
        : m_segments(SegmentsOf(pattern)), m_found(found), m_inputs(inputs) {}

    void Walk(const fs::path& folder, std::size_t place = 0) {
        if (place == m_segments.size()) {
            return;
        }
        const fs::path& segment = m_segments[place];
        const bool last = place + 1 == m_segments.size();
        if (segment == kAnyFolders) {
            Walk(folder, place + 1);
            for (const fs::path& entry : EntriesOf(folder)) {
                std::error_code error;
                if (!fs::is_symlink(entry, error) && FitsPattern(entry.filename(), "*")) {
                    Step(entry, place, false);
                }
            }
        } else if (!HasWildcard(segment) || HasEntry(folder / segment)) {
            Step(folder / segment, place + 1, last);
        } else {
            for (const fs::path& entry : EntriesOf(folder)) {
                if (FitsPattern(entry.filename(), segment)) {
                    Step(entry, place + 1, last);
                }
            }
        }
    }

private:
    /// "**" behind "**" finds nothing more, but finds it again and again.
    static std::vector<fs::path> SegmentsOf(const fs::path& pattern) {
        std::vector<fs::path> segments(pattern.begin(), pattern.end());
        const auto end = std::unique(segments.begin(), segments.end(),
                                     [](const fs::path& left, const fs::path& right) {
                                         return left == kAnyFolders && right == kAnyFolders;
                                     });
        segments.erase(end, segments.end());
        return segments;
    }

    void Step(const fs::path& path, std::size_t next, bool last) {
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (last && MayBeFile(path, status)) {
            m_found.insert(Nax::FrontEnd::XMLDB::BriefPath(path).string());
        } else if (!last && fs::is_directory(status)) {
            Walk(path, next);
        } else if (status.type() == fs::file_type::none &&
                   error != std::errc::too_many_symbolic_link_levels) {
            AddFailure(fmt::format("cannot read '{}': {}", path.string(), error.message()));
        }
    }

    /// Once, however often a folder is walked through.
    void AddFailure(const std::string& failure) {
        std::vector<std::string>& failures = m_inputs.failures;
        if (std::find(failures.begin(), failures.end(), failure) == failures.end()) {
            failures.push_back(failure);
        }
    }

    std::vector<fs::path> EntriesOf(const fs::path& folder) {
        std::vector<fs::path> entries;
        std::error_code error;
        const fs::path shown = folder.empty() ? fs::path(".") : folder;
        for (fs::directory_iterator entry(shown, error), end; !error && entry != end;
             entry.increment(error)) {
            entries.push_back(folder / entry->path().filename());
        }
        if (error) {
            AddFailure(
                fmt::format("cannot read the folder '{}': {}", shown.string(), error.message()));
        }
        return entries;
    }

    const std::vector<fs::path> m_segments;
    std::set<std::string>& m_found;
    SInputs& m_inputs;
};

std::string Joined(const std::vector<std::string>& texts, std::size_t atMost) {
    std::string joined;
    for (std::size_t index = 0; index < std::min(texts.size(), atMost); ++index) {
        joined += (index == 0 ? "'" : ", '") + texts[index] + "'";
    }
    return texts.size() > atMost ? fmt::format("{} and {} more", joined, texts.size() - atMost)
                                 : joined;
}

void AddFolder(const std::string& folder, const std::vector<std::string>& globs, SInputs& inputs) {
    const std::size_t failuresBefore = inputs.failures.size();
    std::set<std::string> found;
    for (const std::string& glob : globs) {
        CPatternWalk(glob, found, inputs).Walk(folder);
    }
    std::vector<std::string> others;
    for (const std::string& path : found) {
        const std::string root = ReadRootElement(path);
        if (root.empty() || root == kLandscape) {
            inputs.files.push_back({path});
        } else {
            others.push_back(path);
        }
    }
    if (others.size() < found.size()) {
        if (!others.empty()) {
            inputs.notes.push_back(fmt::format(
                "left out {} of the folder '{}', as no landscape: {}",
                others.size() == 1 ? "1 file" : "files", folder, Joined(others, kNamedAtMost)));
        }
    } else if (!others.empty()) {
        inputs.failures.push_back(
            fmt::format("no file of the folder '{}' that fits {} is a "
                        "landscape",
                        folder, Joined(globs, globs.size())));
    } else if (inputs.failures.size() == failuresBefore) {
        inputs.failures.push_back(
            fmt::format("no file of the folder '{}' fits {}", folder, Joined(globs, globs.size())));
    }
}

void AddPattern(const std::string& pattern, SInputs& inputs) {
    const std::size_t failuresBefore = inputs.failures.size();
    std::set<std::string> found;
    CPatternWalk(pattern, found, inputs).Walk({});
    for (const std::string& path : found) {
        inputs.files.push_back({path});
    }
    if (found.empty() && inputs.failures.size() == failuresBefore) {
        inputs.failures.push_back(fmt::format("no file fits '{}'", pattern));
    }
}

} // namespace

void AddInputOptions(CLI::App& command, SInputOptions& options) {
    Repeatable(command.add_option("--glob", options.globs,
                                  "Which files of a folder given as FILE are meant (repeatable); "
                                  "'**/*.xml' takes those below it too"))
        ->option_text("PATTERN [*.xml]");
    command
        .add_option("--stdin-name", options.stdinName,
                    "Name or URL of the file that is read from standard input, for FILE \"-\"")
        ->option_text("NAME [<stdin>]")
        ->check(CLI::Validator(
            [](std::string& name) { return name.empty() ? "the name is empty" : std::string(); },
            ""));
}

SInputs FindInputs(const std::vector<std::string>& words, const SInputOptions& options) {
    SInputs inputs;
    for (const std::string& word : words) {
        if (word == "-") {
            inputs.files.push_back({word, true});
        } else if (IsFolder(word)) {
            AddFolder(word, options.globs, inputs);
        } else if (HasWildcard(word) && !HasEntry(word)) {
            AddPattern(word, inputs);
        } else {
            inputs.files.push_back({word});
        }
    }
    return inputs;
}

bool CopyToFile(std::istream& in, const std::string& path, std::uint64_t limit,
                std::string& message) {
    constexpr std::size_t kBlock = std::size_t{1} << 16U;
    std::ofstream out(path, std::ios::binary);
    std::string block(kBlock, '\0');
    // One byte more than may be, so that the reader refuses it like any other file.
    for (std::uint64_t size = 0; in && out && size <= limit;) {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        out.write(block.data(), in.gcount());
        size += static_cast<std::uint64_t>(in.gcount());
    }
    out.close();
    if (in.bad()) {
        message = "it cannot be read to its end";
    } else if (!out) {
        message = "its temporary copy cannot be written";
    }
    return message.empty();
}

} // namespace LandscapeValidator
