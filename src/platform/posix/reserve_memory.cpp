// SPDX-License-Identifier: Apache-2.0
#include "reserve_memory.h"

#include <naxfewxmldb/memory.h>

#include <malloc.h>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>

namespace Nax::FrontEnd::XMLDB::ReserveMemory {

namespace {

thread_local std::uint64_t t_failures = 0;
thread_local CBound* t_bound = nullptr;

constexpr std::size_t kReserve = std::size_t{8} << 20U;

// Memory that is there from the beginning and costs nothing until it is used.
alignas(std::max_align_t) std::array<std::byte, kReserve> g_space;

/// Gives it out in order; it is free again when nothing of it is in use.
class CReserve {
public:
    void* Take(std::size_t size) noexcept {
        const std::size_t whole = kHeader + (size + kHeader - 1) / kHeader * kHeader;
        const std::lock_guard lock(m_mutex);
        // What is that large is text, whose growth the libraries check themselves.
        if (size > kLargest || whole > g_space.size() - m_used) {
            return nullptr;
        }
        std::byte* const block = g_space.data() + m_used + kHeader;
        std::memcpy(block - kHeader, &size, sizeof(size));
        m_used += whole;
        ++m_blocks;
        return block;
    }

    bool Holds(const void* block) const noexcept {
        const std::less<> before;
        return !before(block, g_space.data()) && before(block, g_space.data() + g_space.size());
    }

    static std::size_t SizeOf(const void* block) noexcept {
        std::size_t size = 0;
        std::memcpy(&size, static_cast<const std::byte*>(block) - kHeader, sizeof(size));
        return size;
    }

    void GiveBack() noexcept {
        const std::lock_guard lock(m_mutex);
        if (--m_blocks == 0) {
            m_used = 0;
        }
    }

private:
    static constexpr std::size_t kHeader = alignof(std::max_align_t);
    static constexpr std::size_t kLargest = std::size_t{1} << 20U;

    std::mutex m_mutex;
    std::size_t m_used = 0;
    std::size_t m_blocks = 0;
};

constinit CReserve g_reserve;

void* AfterFailure(std::size_t size) noexcept {
    ++t_failures;
    NoteFailedAllocation();
    return g_reserve.Take(size);
}

/// What the reserve holds is not counted.
void Count(void* block, bool isNew) noexcept {
    if (t_bound != nullptr && block != nullptr && !g_reserve.Holds(block)) {
        t_bound->Count(block, isNew);
    }
}

} // namespace

CBound::CBound(std::size_t bytes, TAction onExceeded, void* context) noexcept
    : m_left(static_cast<std::int64_t>(bytes)), m_onExceeded(onExceeded), m_context(context) {
    t_bound = this;
}

CBound::~CBound() {
    t_bound = nullptr;
}

void CBound::Count(void* block, bool isNew) noexcept {
    const auto size = static_cast<std::int64_t>(malloc_usable_size(block));
    m_left -= isNew ? size : -size;
    if (isNew && m_left < 0) {
        m_exceeded = true;
        m_onExceeded(m_context);
    }
}

void Free(void* block) noexcept {
    if (!g_reserve.Holds(block)) {
        Count(block, false);
        std::free(block);
    } else {
        g_reserve.GiveBack();
    }
}

void* Allocate(std::size_t size) noexcept {
    void* const block = std::malloc(size);
    Count(block, true);
    return block != nullptr || size == 0 ? block : AfterFailure(size);
}

void* Reallocate(void* block, std::size_t size) noexcept {
    const bool reserved = g_reserve.Holds(block);
    Count(block, false);
    void* moved = reserved ? std::malloc(size) : std::realloc(block, size);
    Count(moved, true);
    if (moved == nullptr && size != 0) {
        moved = AfterFailure(size);
        if (moved != nullptr && block != nullptr && !reserved) {
            // A block that cannot grow in place is copied; malloc knows how large it is.
            std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
            std::free(block);
            return moved;
        }
    }
    if (reserved && moved != nullptr) {
        std::memcpy(moved, block, std::min(size, CReserve::SizeOf(block)));
        g_reserve.GiveBack();
    }
    return moved;
}

std::uint64_t FailuresOfThread() noexcept {
    return t_failures;
}

} // namespace Nax::FrontEnd::XMLDB::ReserveMemory
