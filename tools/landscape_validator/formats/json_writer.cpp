// SPDX-License-Identifier: Apache-2.0
#include "formats/json_writer.h"

#include "formats/text_encoding.h"

namespace LandscapeValidator {

namespace {

constexpr std::size_t kBufferSize = 1U << 16U;
constexpr std::size_t kIndent = 2;

} // namespace

CJsonWriter::~CJsonWriter() {
    Flush();
}

void CJsonWriter::Flush() {
    m_out.write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
    m_buffer.clear();
}

void CJsonWriter::StartLine() {
    m_buffer += '\n';
    m_buffer.append(m_levels.size() * kIndent, ' ');
}

void CJsonWriter::BeginItem() {
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_levels.empty()) {
        return;
    }
    SLevel& level = m_levels.back();
    if (!level.empty) {
        m_buffer += ',';
    }
    if (!level.isInline) {
        StartLine();
    } else if (!level.empty) {
        m_buffer += ' ';
    }
    level.empty = false;
    if (m_buffer.size() > kBufferSize) {
        Flush();
    }
}

CJsonWriter& CJsonWriter::Begin(char bracket, Layout layout) {
    BeginItem();
    m_buffer += bracket;
    const bool insideInline = !m_levels.empty() && m_levels.back().isInline;
    m_levels.push_back({insideInline || layout == Layout::Inline, true});
    return *this;
}

CJsonWriter& CJsonWriter::End(char bracket) {
    const SLevel level = m_levels.back();
    m_levels.pop_back();
    if (!level.isInline && !level.empty) {
        StartLine();
    }
    m_buffer += bracket;
    if (m_levels.empty()) {
        m_buffer += '\n';
    }
    return *this;
}

CJsonWriter& CJsonWriter::Key(std::string_view key) {
    BeginItem();
    m_buffer += '"';
    AppendJsonEscaped(m_buffer, key);
    m_buffer += "\": ";
    m_afterKey = true;
    return *this;
}

CJsonWriter& CJsonWriter::Text(std::string_view text) {
    BeginItem();
    m_buffer += '"';
    AppendJsonEscaped(m_buffer, text);
    m_buffer += '"';
    return *this;
}

CJsonWriter& CJsonWriter::Number(long long number) {
    BeginItem();
    m_buffer += std::to_string(number);
    return *this;
}

CJsonWriter& CJsonWriter::Bool(bool value) {
    BeginItem();
    m_buffer += value ? "true" : "false";
    return *this;
}

CJsonWriter& CJsonWriter::Null() {
    BeginItem();
    m_buffer += "null";
    return *this;
}

CJsonWriter& CJsonWriter::TextOrNull(std::string_view text) {
    return text.empty() ? Null() : Text(text);
}

} // namespace LandscapeValidator
