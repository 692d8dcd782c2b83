// SPDX-License-Identifier: Apache-2.0
#include "record_buffer.h"

#include <algorithm>
#include <cstring>

namespace LandscapeValidator {

namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 18;

template <class Plain>
void AppendPlain(std::string& block, const Plain& plain) {
    block.append(reinterpret_cast<const char*>(&plain), sizeof(plain));
}

template <class Plain>
Plain TakePlain(const std::string& block, std::size_t& at) {
    Plain plain{};
    std::memcpy(&plain, block.data() + at, sizeof(plain));
    at += sizeof(plain);
    return plain;
}

} // namespace

std::string& CRecordBuffer::MakeRoom(std::size_t needed) {
    if (!m_blocks.empty() && m_blocks.back().size() + needed > kBlockSize) {
        Flush();
    }
    if (m_blocks.empty() || m_blocks.back().size() + needed > kBlockSize) {
        m_blocks.emplace_back();
        m_blocks.back().reserve(std::max(needed, kBlockSize));
    }
    return m_blocks.back();
}

void CRecordBuffer::Flush() {
    if (m_takeBlock && !m_blocks.empty()) {
        m_takeBlock(std::move(m_blocks.back()));
        m_blocks.clear();
    }
}

void CRecordBuffer::Pack(std::string& block, std::size_t table, std::size_t columns, long line,
                         std::span<const SValue> values) {
    AppendPlain(block,
                SHead{static_cast<std::uint32_t>(table), static_cast<std::uint32_t>(columns),
                      static_cast<std::uint32_t>(values.size()), static_cast<std::uint32_t>(line)});
    for (const SValue& value : values) {
        AppendPlain(block, SPackedValue{static_cast<std::uint32_t>(value.column),
                                        static_cast<std::uint32_t>(value.text.size())});
        block.append(value.text);
    }
}

void CRecordBuffer::AddValue(std::string& block, const SValue& value) {
    std::size_t at = 0;
    auto head = TakePlain<SHead>(block, at);
    ++head.present;
    std::memcpy(block.data(), &head, sizeof(head));
    AppendPlain(block, SPackedValue{static_cast<std::uint32_t>(value.column),
                                    static_cast<std::uint32_t>(value.text.size())});
    block.append(value.text);
}

void CRecordBuffer::Append(std::size_t table, std::size_t columns, long line,
                           std::span<const SValue> values) {
    std::size_t needed = sizeof(SHead);
    for (const SValue& value : values) {
        needed += sizeof(SPackedValue) + value.text.size();
    }
    Pack(MakeRoom(needed), table, columns, line, values);
    ++m_count;
}

void CRecordBuffer::Append(std::string_view packed) {
    MakeRoom(packed.size()).append(packed);
    ++m_count;
}

void CRecordBuffer::Clear() {
    m_blocks.clear();
    m_count = 0;
}

void CRecordBuffer::ForEach(const std::function<void(const SRecord&)>& visit) const {
    Values values;
    for (const std::string& block : m_blocks) {
        for (std::size_t at = 0; at < block.size();) {
            const SHead head = TakePlain<SHead>(block, at);
            values.assign(head.columns, std::nullopt);
            for (std::uint32_t present = 0; present < head.present; ++present) {
                const SPackedValue value = TakePlain<SPackedValue>(block, at);
                values[value.column] = std::string_view(block).substr(at, value.length);
                at += value.length;
            }
            visit({head.table, static_cast<long>(head.line), values});
        }
    }
}

void CRecordBuffer::ForEachIn(const std::string& block,
                              const std::function<void(const SPackedRecord&)>& visit) {
    std::vector<SValue> values;
    for (std::size_t at = 0; at < block.size();) {
        const SHead head = TakePlain<SHead>(block, at);
        values.clear();
        for (std::uint32_t present = 0; present < head.present; ++present) {
            const SPackedValue value = TakePlain<SPackedValue>(block, at);
            values.push_back({value.column, std::string_view(block).substr(at, value.length)});
            at += value.length;
        }
        visit({head.table, static_cast<long>(head.line), values});
    }
}

} // namespace LandscapeValidator
