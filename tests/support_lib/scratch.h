// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

/// An empty folder that is removed with its content at the end of the test.
class CScratchFolder {
public:
    CScratchFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "naxtest.XXXXXX").string();
        m_path = ::mkdtemp(name.data());
    }
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;
    ~CScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + '/' + name; }
    std::string Write(const std::string& name, const std::string& content) const {
        std::ofstream(File(name), std::ios::binary) << content;
        return File(name);
    }
    std::size_t EntryCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_path),
                                                      std::filesystem::directory_iterator()));
    }

private:
    std::string m_path;
};

inline std::string ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Sets (or, for nullptr, removes) an environment variable for the time of a test.
class CEnvironmentValue {
public:
    CEnvironmentValue(const char* name, const char* value) : m_name(name) {
        if (const char* earlier = std::getenv(name)) {
            m_earlier = earlier;
        }
        Set(value);
    }
    CEnvironmentValue(const CEnvironmentValue&) = delete;
    CEnvironmentValue& operator=(const CEnvironmentValue&) = delete;
    ~CEnvironmentValue() { Set(m_earlier.has_value() ? m_earlier->c_str() : nullptr); }

private:
    void Set(const char* value) {
        if (value == nullptr) {
            ::unsetenv(m_name.c_str());
        } else {
            ::setenv(m_name.c_str(), value, 1);
        }
    }

    std::string m_name;
    std::optional<std::string> m_earlier;
};
