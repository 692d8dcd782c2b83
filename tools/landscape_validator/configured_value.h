// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "configuration_file.h"

#include <string>
#include <vector>

namespace CLI {
class Option;
} // namespace CLI

namespace LandscapeValidator {

/// What a command's option takes, found out from its declaration, so that no option needs a word of
/// its own for configuration.
bool IsFlag(const CLI::Option& option);
bool IsRepeatable(const CLI::Option& option);
/// By the placeholder in its help: FILE, DIR, FOLDER, also behind "=" as in FORMAT=FILE.
bool NamesFiles(const CLI::Option& option);
/// NAME=...: a list of settings with names, each of which is taken from the closest place.
bool IsByName(const CLI::Option& option);
/// Those of `values` whose names the option's present values do not have.
std::vector<std::string> WithNewNames(const CLI::Option& option, std::vector<std::string> values);

/// Why an option cannot take a value of this type; empty when it can.
std::string WhyWrongType(const CLI::Option& option, const SConfiguredValue& value);

/// A value of an option that names files, with its path taken from `folder`.
std::string RelativeTo(const std::string& folder, const std::string& value,
                       const CLI::Option& option);

/// "true" or "false" for the usual words in any letter case; empty for others.
std::string ReadTruth(const std::string& text);

/// An option's present or default value, as a configuration file would hold it; empty when it has
/// none.
std::string TextOfValue(CLI::Option& option);

} // namespace LandscapeValidator
