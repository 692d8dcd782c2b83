// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <regex.h>

#include <string>

/// A POSIX extended regular expression; "." and "[^x]" match line feeds too.
class CPattern {
public:
    explicit CPattern(const std::string& text) {
        EXPECT_EQ(::regcomp(&m_pattern, text.c_str(), REG_EXTENDED), 0) << text;
    }
    CPattern(const CPattern&) = delete;
    CPattern& operator=(const CPattern&) = delete;
    ~CPattern() { ::regfree(&m_pattern); }

    bool Finds(const std::string& text) const {
        return ::regexec(&m_pattern, text.c_str(), 0, nullptr, 0) == 0;
    }
    std::string Replace(std::string text, const std::string& by) const {
        std::string result;
        for (regmatch_t match; ::regexec(&m_pattern, text.c_str(), 1, &match, 0) == 0;) {
            result += text.substr(0, static_cast<std::size_t>(match.rm_so)) + by;
            text.erase(0, static_cast<std::size_t>(match.rm_eo));
        }
        return result + text;
    }

private:
    regex_t m_pattern = {};
};
