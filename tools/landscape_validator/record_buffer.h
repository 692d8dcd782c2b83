// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LandscapeValidator {

/// The entries of one file until it is known to be well-formed, packed into one growing block:
/// only what is present takes space.
class CRecordBuffer {
public:
    /// Values by column; a column without value is absent. Reused between records.
    using Values = std::vector<std::optional<std::string_view>>;

    struct SRecord {
        std::size_t table;
        long line;
        const Values& values; ///< as many as were appended; valid during the call
    };

    void Append(std::size_t table, long line, const Values& values);
    void Clear();
    std::size_t GetCount() const { return m_count; }
    void ForEach(const std::function<void(const SRecord&)>& visit) const;

private:
    struct SHead {
        std::uint32_t table;
        std::uint32_t columns;
        std::uint32_t present;
        std::uint32_t line;
    };
    struct SValue {
        std::uint32_t column;
        std::uint32_t length;
    };

    std::vector<std::string> m_blocks;
    std::size_t m_count = 0;
};

} // namespace LandscapeValidator
