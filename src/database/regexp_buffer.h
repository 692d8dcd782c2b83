// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace Nax::FrontEnd::XMLDB {

/// No buffer of the regular expressions grows beyond this.
constexpr std::uint64_t MAX_REGEXP_BUFFER_BYTES = 64ULL * 1024 * 1024;

/// Growing array of plain values in SQLite's memory, so that SQLite's limits and statistics count
/// it. Owns its storage. Not thread-safe. Nothing throws: what could not be had is a null pointer
/// or false, and the content stays as it was.
template <typename T>
class CRegexpBuffer {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    static constexpr std::uint64_t MAX_SIZE = MAX_REGEXP_BUFFER_BYTES / sizeof(T);

    CRegexpBuffer() = default;
    CRegexpBuffer(const CRegexpBuffer&) = delete;
    CRegexpBuffer& operator=(const CRegexpBuffer&) = delete;
    ~CRegexpBuffer() { sqlite3_free(m_data); }

    /// Adds `count` values, not initialised, and returns the first of them.
    T* Extend(std::uint64_t count) {
        if (count > MAX_SIZE - m_size || (m_size + count > m_capacity && !Grow(count))) {
            return nullptr;
        }
        T* added = m_data + m_size;
        m_size += count;
        return added;
    }

    bool Append(T value) {
        T* added = Extend(1);
        if (added == nullptr) {
            return false;
        }
        *added = value;
        return true;
    }

    void RemoveLast() { --m_size; }

    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_size); }
    T& operator[](std::uint32_t index) { return m_data[index]; }
    const T& operator[](std::uint32_t index) const { return m_data[index]; }
    T& Last() { return m_data[m_size - 1]; }
    T* Data() { return m_data; }
    const T* Data() const { return m_data; }

private:
    static constexpr std::uint64_t INITIAL_CAPACITY = 30;

    bool Grow(std::uint64_t count) {
        const std::uint64_t wanted =
            m_capacity == 0 ? std::max(INITIAL_CAPACITY, count) : 2 * m_capacity + count;
        const std::uint64_t capacity = std::min(wanted, MAX_SIZE);
        void* data = sqlite3_realloc64(m_data, capacity * sizeof(T));
        if (data == nullptr) {
            return false;
        }
        m_data = static_cast<T*>(data);
        m_capacity = capacity;
        return true;
    }

    T* m_data = nullptr;
    std::uint64_t m_size = 0;
    std::uint64_t m_capacity = 0;
};

} // namespace Nax::FrontEnd::XMLDB
