// SPDX-License-Identifier: Apache-2.0
#include "xml_memory.h"

#include <naxfewxmldb/memory.h>

#include <libxml/globals.h>
#include <libxml/xmlmemory.h>
#include <malloc.h>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <new>

namespace Nax::FrontEnd::XMLDB {

namespace {

thread_local std::uint64_t t_failures = 0;

constexpr std::size_t kReserve = std::size_t{8} << 20U;

// Memory that is there from the beginning and costs nothing until it is used.
alignas(std::max_align_t) std::array<std::byte, kReserve> g_space;

/// Gives it out. Space is given out in
/// order and is free again when nothing of it is in use.
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

void Free(void* block) noexcept {
    if (!g_reserve.Holds(block)) {
        std::free(block);
    } else {
        g_reserve.GiveBack();
    }
}

void* Allocate(std::size_t size) noexcept {
    void* const block = std::malloc(size);
    return block != nullptr || size == 0 ? block : AfterFailure(size);
}

void* Reallocate(void* block, std::size_t size) noexcept {
    const bool reserved = g_reserve.Holds(block);
    void* moved = reserved ? std::malloc(size) : std::realloc(block, size);
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

char* Duplicate(const char* text) noexcept {
    const std::size_t size = std::strlen(text) + 1;
    void* const copy = Allocate(size);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

} // namespace

void InstallXmlMemory() noexcept {
    xmlFreeFunc release = nullptr;
    xmlMallocFunc allocate = nullptr;
    xmlReallocFunc reallocate = nullptr;
    xmlStrdupFunc duplicate = nullptr;
    // A host with an allocator of its own keeps it.
    if (xmlMemGet(&release, &allocate, &reallocate, &duplicate) == 0 && release == &std::free) {
        xmlMemSetup(&Free, &Allocate, &Reallocate, &Duplicate);
    }
}

CXmlMemoryWatch::CXmlMemoryWatch() noexcept : m_before(t_failures) {}

bool CXmlMemoryWatch::HasFailed() const noexcept {
    return t_failures != m_before;
}

void CXmlMemoryWatch::ThrowIfFailed() const {
    if (HasFailed()) {
        throw std::bad_alloc();
    }
}

} // namespace Nax::FrontEnd::XMLDB
