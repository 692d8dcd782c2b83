// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/statement_queue.h>

#include <algorithm>
#include <cstring>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 20;
constexpr std::string_view kInsert = "INSERT INTO ";
constexpr std::string_view kValues = " VALUES ";

struct SEntry {
    std::size_t prefix;
    std::size_t length;
};

} // namespace

void CStatementQueue::Append(std::string_view statement) {
    std::size_t prefixLength = 0;
    if (statement.starts_with(kInsert)) {
        const std::size_t values = statement.find(kValues);
        prefixLength = values == std::string_view::npos ? 0 : values + kValues.size();
    }
    Store(PrefixIndex(statement.substr(0, prefixLength)), statement.substr(prefixLength));
    ++m_count;
}

std::size_t CStatementQueue::PrefixIndex(std::string_view prefix) {
    // Link rows name their own tables, so there may be many; most statements use a recent one.
    constexpr std::size_t kSearched = 32;
    const std::size_t searched = std::min(kSearched, m_prefixes.size());
    for (std::size_t back = 1; back <= searched; ++back) {
        if (m_prefixes[m_prefixes.size() - back] == prefix) {
            return m_prefixes.size() - back;
        }
    }
    m_prefixes.emplace_back(prefix);
    return m_prefixes.size() - 1;
}

void CStatementQueue::Store(std::size_t prefix, std::string_view rest) {
    const std::size_t needed = sizeof(SEntry) + rest.size();
    if (m_blocks.empty() || m_blocks.back().size() + needed > kBlockSize) {
        m_blocks.emplace_back();
        m_blocks.back().reserve(std::max(needed, kBlockSize));
    }
    const SEntry entry{prefix, rest.size()};
    std::string& block = m_blocks.back();
    block.append(reinterpret_cast<const char*>(&entry), sizeof(entry));
    block.append(rest);
}

void CStatementQueue::Clear() {
    m_prefixes.clear();
    m_blocks.clear();
    m_blocks.shrink_to_fit();
    m_count = 0;
}

bool CStatementQueue::ForEach(const std::function<bool(const std::string&)>& visit) const {
    std::string statement;
    for (const std::string& block : m_blocks) {
        for (std::size_t at = 0; at < block.size();) {
            SEntry entry{};
            std::memcpy(&entry, block.data() + at, sizeof(entry));
            at += sizeof(entry);
            statement.assign(m_prefixes[entry.prefix]);
            statement.append(block, at, entry.length);
            at += entry.length;
            if (!visit(statement)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace Nax::FrontEnd::XMLDB
