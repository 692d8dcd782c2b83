// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Of the form that is written, and the only one that is read.
constexpr int kBaselineVersion = 1;

/// A known finding. Its line is no part of it, so that it stays known when the file grows.
struct SBaselineEntry {
    int rule = 0;
    std::string file; ///< from the baseline's folder on; empty for a finding without a file
    std::string uuid;
    std::string text;
    std::size_t count = 1; ///< how many such findings are known
};

/// Findings that somebody decided to live with: all that have what is given here.
struct SSuppression {
    int rule = 0;
    std::optional<std::string> file;
    std::optional<std::string> uuid;
    std::optional<std::string> text;
    std::string reason;
};

/// The content of a baseline file.
struct SBaseline {
    std::vector<SBaselineEntry> findings;
    std::vector<SSuppression> suppressions;
};

/// Reads a baseline file. False when it cannot be read or is not one; `reason` then names the line
/// where there is one, and the cause.
bool ReadBaseline(const std::string& path, SBaseline& baseline, std::string& reason);

/// Writes it as a whole or not at all, one entry a line, in an order of its own. False with the
/// reason when it cannot be written.
bool WriteBaseline(const std::string& path, const SBaseline& baseline, std::string& reason);

} // namespace LandscapeValidator
