// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/platform/narrow_string.h>

#include <strings.h>
#include <algorithm>
#include <cstdarg>
#include <cstdio>

void CStringA::Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    // Formatted aside: an argument may point into the present content.
    std::string text(length < 0 ? 0U : static_cast<std::size_t>(length) + 1U, '\0');
    if (length >= 0) {
        std::vsnprintf(text.data(), text.size(), format, again);
        text.pop_back();
    }
    va_end(again);
    m_text = std::move(text);
}

int CStringA::Find(const char* text, int start) const {
    const std::size_t position = m_text.find(text, static_cast<std::size_t>(std::max(start, 0)));
    return position == std::string::npos ? -1 : static_cast<int>(position);
}

int CStringA::Replace(const char* oldText, const char* newText) {
    const std::string search = oldText;
    const std::string replacement = newText == nullptr ? "" : newText;
    if (search.empty()) {
        return 0;
    }
    int count = 0;
    for (std::size_t at = m_text.find(search); at != std::string::npos;
         at = m_text.find(search, at + replacement.size())) {
        m_text.replace(at, search.size(), replacement);
        ++count;
    }
    return count;
}

CStringA CStringA::Mid(int first, int count) const {
    const std::size_t begin = std::min(static_cast<std::size_t>(std::max(first, 0)), m_text.size());
    CStringA part;
    part.m_text = m_text.substr(begin, static_cast<std::size_t>(std::max(count, 0)));
    return part;
}

CStringA CStringA::Mid(int first) const {
    return Mid(first, GetLength());
}

int CStringA::CompareNoCase(const char* text) const noexcept {
    return strcasecmp(m_text.c_str(), text);
}

CStringA& CStringA::operator+=(const char* text) {
    if (text != nullptr) {
        m_text += text;
    }
    return *this;
}

CStringA& CStringA::operator+=(const CStringA& text) {
    m_text += text.m_text;
    return *this;
}

CStringA& CStringA::operator+=(char character) {
    m_text += character;
    return *this;
}
