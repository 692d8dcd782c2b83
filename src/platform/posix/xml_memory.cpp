// SPDX-License-Identifier: Apache-2.0
#include "xml_memory.h"

#include "reserve_memory.h"

#include <libxml/globals.h>
#include <libxml/xmlmemory.h>
#include <cstdlib>
#include <cstring>
#include <new>

namespace Nax::FrontEnd::XMLDB {

namespace {

char* Duplicate(const char* text) noexcept {
    const std::size_t size = std::strlen(text) + 1;
    void* const copy = ReserveMemory::Allocate(size);
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
        xmlMemSetup(&ReserveMemory::Free, &ReserveMemory::Allocate, &ReserveMemory::Reallocate,
                    &Duplicate);
    }
}

CXmlMemoryWatch::CXmlMemoryWatch() noexcept : m_before(ReserveMemory::FailuresOfThread()) {}

bool CXmlMemoryWatch::HasFailed() const noexcept {
    return ReserveMemory::FailuresOfThread() != m_before;
}

void CXmlMemoryWatch::ThrowIfFailed() const {
    if (HasFailed()) {
        throw std::bad_alloc();
    }
}

} // namespace Nax::FrontEnd::XMLDB
