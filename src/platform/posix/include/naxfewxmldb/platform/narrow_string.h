// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <cstddef>
#include <string>

/// Narrow string with the names of the platform's own class: a value type over UTF-8 bytes.
/// Not shared between copies; one object is used by one thread at a time, like std::string.
class NAXFEWXMLDB_EXPORT CStringA {
public:
    CStringA() = default;
    CStringA(const char* text) : m_text(text == nullptr ? "" : text) {}
    CStringA(const char* text, int length) : m_text(text, static_cast<std::size_t>(length)) {}

    operator const char*() const noexcept { return m_text.c_str(); }
    const char* GetString() const noexcept { return m_text.c_str(); }
    int GetLength() const noexcept { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const noexcept { return m_text.empty(); }
    void Empty() noexcept { m_text.clear(); }
    char GetAt(int index) const { return m_text.at(static_cast<std::size_t>(index)); }

    /// printf-style; replaces the content.
    __attribute__((format(printf, 2, 3))) void Format(const char* format, ...);
    /// Position of the first `text` at or after `start`, -1 when there is none.
    int Find(const char* text, int start = 0) const;
    /// Replaces every occurrence; returns their number.
    int Replace(const char* oldText, const char* newText);
    CStringA Mid(int first, int count) const;
    CStringA Mid(int first) const;
    CStringA Left(int count) const { return Mid(0, count); }
    int Compare(const char* text) const noexcept { return m_text.compare(text); }
    /// Without regard to the case of ASCII letters.
    int CompareNoCase(const char* text) const noexcept;

    CStringA& operator+=(const char* text);
    CStringA& operator+=(const CStringA& text);
    CStringA& operator+=(char character);

    friend CStringA operator+(CStringA left, const CStringA& right) { return left += right; }
    friend CStringA operator+(CStringA left, const char* right) { return left += right; }
    friend CStringA operator+(const char* left, const CStringA& right) {
        return CStringA(left) += right;
    }
    friend bool operator==(const CStringA& left, const CStringA& right) noexcept {
        return left.m_text == right.m_text;
    }
    friend bool operator==(const CStringA& left, const char* right) noexcept {
        return left.m_text == right;
    }
    friend bool operator!=(const CStringA& left, const CStringA& right) noexcept {
        return !(left == right);
    }
    friend bool operator!=(const CStringA& left, const char* right) noexcept {
        return !(left == right);
    }
    friend bool operator<(const CStringA& left, const CStringA& right) noexcept {
        return left.m_text < right.m_text;
    }

private:
    std::string m_text;
};
