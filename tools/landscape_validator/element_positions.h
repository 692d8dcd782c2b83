// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace LandscapeValidator {

/// In which line of its file each entry begins, beside the database, whose tables have no place
/// for it. Rows are stored in the order of their records, so the n-th record of a table is the row
/// with id n.
class CElementPositions {
public:
    void Add(std::size_t table, long line) {
        if (table >= m_lines.size()) {
            m_lines.resize(table + 1);
        }
        m_lines[table].push_back(static_cast<std::uint32_t>(line));
    }

    /// How many rows each table has, for CutTo.
    std::vector<std::size_t> GetSizes() const {
        std::vector<std::size_t> sizes;
        for (const auto& lines : m_lines) {
            sizes.push_back(lines.size());
        }
        return sizes;
    }

    /// Forgets the rows that were added since.
    void CutTo(const std::vector<std::size_t>& sizes) {
        for (std::size_t table = 0; table < m_lines.size(); ++table) {
            m_lines[table].resize(table < sizes.size() ? sizes[table] : 0);
        }
    }

    /// 0 when there is no such row.
    long LineOf(std::size_t table, long row) const {
        const auto place = static_cast<std::size_t>(row - 1);
        return table < m_lines.size() && row > 0 && place < m_lines[table].size()
                   ? static_cast<long>(m_lines[table][place])
                   : 0;
    }

private:
    std::vector<std::vector<std::uint32_t>> m_lines; ///< by table and row
};

} // namespace LandscapeValidator
