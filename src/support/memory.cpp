// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/memory.h>

#include <atomic>

namespace Nax::FrontEnd::XMLDB {

namespace {

std::atomic<std::uint64_t> g_failed{0};

} // namespace

std::uint64_t GetFailedAllocations() noexcept {
    return g_failed;
}

void NoteFailedAllocation() noexcept {
    ++g_failed;
}

} // namespace Nax::FrontEnd::XMLDB
