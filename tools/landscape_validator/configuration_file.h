// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// What a configuration file says for one key.
struct SConfiguredValue {
    bool list = false;
    bool truth = false;              ///< the value, or one of the list, is true or false
    std::vector<std::string> values; ///< as on a command line
    long line = 0;
};

/// A configuration file's keys with their values. Reads TOML; tables and dates are no values here.
struct SConfigurationFile {
    std::string path; ///< empty when there is no file
    std::map<std::string, SConfiguredValue> values;
};

/// The message names file, line and cause.
class CConfigurationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws CConfigurationError when the file cannot be read or is no such file.
SConfigurationFile ReadConfigurationFile(const std::string& path);

/// Looks for `landscape-validator.toml` in the working folder and those above it: up to the home
/// folder, else to the root. A folder above the working folder in which everybody may leave files,
/// such as that for temporary files, ends the search. Relative to the working folder; empty when
/// there is none.
std::string FindConfigurationFile();

} // namespace LandscapeValidator
