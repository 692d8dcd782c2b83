// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace Nax::FrontEnd::XMLDB::ReserveMemory {

// Allocation for libraries that do not survive every null pointer. A failure is counted
// (GetFailedAllocations), and then a reserve of 8 MB serves: the library comes to its end in an
// orderly way, and what it made is thrown away because of the count. Null is left for when the
// reserve is used up and for requests beyond 1 MB. May be called from any thread, also while the
// process ends.

void* Allocate(std::size_t size) noexcept;
void* Reallocate(void* block, std::size_t size) noexcept;
void Free(void* block) noexcept; ///< also what malloc has given

/// While it lives, what the calling thread allocates here and does not free is counted;
/// `onExceeded` is called with each allocation beyond the bound, which is granted all the same. One
/// at a time.
class CBound {
public:
    using TAction = void (*)(void* context) noexcept;

    CBound(std::size_t bytes, TAction onExceeded, void* context) noexcept;
    CBound(const CBound&) = delete;
    CBound& operator=(const CBound&) = delete;
    ~CBound();

    bool IsExceeded() const noexcept { return m_exceeded; }
    void Count(void* block, bool isNew) noexcept;

private:
    std::int64_t m_left;
    TAction m_onExceeded;
    void* m_context;
    bool m_exceeded = false;
};

/// How many allocations of the calling thread the reserve had to serve.
std::uint64_t FailuresOfThread() noexcept;

} // namespace Nax::FrontEnd::XMLDB::ReserveMemory
