// SPDX-License-Identifier: Apache-2.0
#include "record_buffer.h"

#include <algorithm>
#include <cstring>

namespace LandscapeValidator {

namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 20;

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

void CRecordBuffer::Append(std::size_t table, long line, const Values& values) {
    SHead head{static_cast<std::uint32_t>(table), static_cast<std::uint32_t>(values.size()), 0,
               static_cast<std::uint32_t>(line)};
    std::size_t needed = sizeof(head);
    for (const auto& value : values) {
        if (value) {
            ++head.present;
            needed += sizeof(SValue) + value->size();
        }
    }
    if (m_blocks.empty() || m_blocks.back().size() + needed > kBlockSize) {
        m_blocks.emplace_back();
        m_blocks.back().reserve(std::max(needed, kBlockSize));
    }
    std::string& block = m_blocks.back();
    AppendPlain(block, head);
    for (std::size_t column = 0; column < values.size(); ++column) {
        if (values[column]) {
            AppendPlain(block, SValue{static_cast<std::uint32_t>(column),
                                      static_cast<std::uint32_t>(values[column]->size())});
            block.append(*values[column]);
        }
    }
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
                const SValue value = TakePlain<SValue>(block, at);
                values[value.column] = std::string_view(block).substr(at, value.length);
                at += value.length;
            }
            visit({head.table, static_cast<long>(head.line), values});
        }
    }
}

} // namespace LandscapeValidator
