// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace LandscapeValidator {

/// Entries of one file, packed into blocks: only what is present takes space.
///
/// Keeps all blocks until it is cleared, or hands each full one to whoever takes blocks.
class CRecordBuffer {
public:
    /// Values by column; a column without value is absent. Reused between records.
    using Values = std::vector<std::optional<std::string_view>>;
    using TakeBlock = std::function<void(std::string&& block)>;

    struct SRecord {
        std::size_t table;
        long line;
        const Values& values; ///< as many as were appended; valid during the call
    };
    struct SValue {
        std::size_t column;
        std::string_view text;
    };
    /// A record as it is packed: the values that are there.
    struct SPackedRecord {
        std::size_t table;
        long line;
        std::span<const SValue> values; ///< valid during the call
    };

    CRecordBuffer() = default;
    explicit CRecordBuffer(TakeBlock takeBlock) : m_takeBlock(std::move(takeBlock)) {}

    /// A record of a table with so many columns. A column given twice has its last value.
    void Append(std::size_t table, std::size_t columns, long line, std::span<const SValue> values);
    /// A record that Pack made.
    void Append(std::string_view packed);
    static void Pack(std::string& block, std::size_t table, std::size_t columns, long line,
                     std::span<const SValue> values);
    /// Adds a value to the only record of `block`.
    static void AddValue(std::string& block, const SValue& value);
    /// Hands over the block that is not full yet.
    void Flush();
    void Clear();
    std::size_t GetCount() const { return m_count; }
    void ForEach(const std::function<void(const SRecord&)>& visit) const;
    static void ForEachIn(const std::string& block,
                          const std::function<void(const SPackedRecord&)>& visit);

private:
    std::string& MakeRoom(std::size_t needed);

    struct SHead {
        std::uint32_t table;
        std::uint32_t columns;
        std::uint32_t present;
        std::uint32_t line;
    };
    struct SPackedValue {
        std::uint32_t column;
        std::uint32_t length;
    };

    TakeBlock m_takeBlock;
    std::vector<std::string> m_blocks;
    std::size_t m_count = 0;
};

} // namespace LandscapeValidator
