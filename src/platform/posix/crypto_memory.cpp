// SPDX-License-Identifier: Apache-2.0
#include "crypto_memory.h"

#include "reserve_memory.h"

#include <openssl/crypto.h>

#include <cstddef>

namespace Nax::FrontEnd::XMLDB {

namespace {

void* Allocate(std::size_t size, const char* /*file*/, int /*line*/) noexcept {
    return ReserveMemory::Allocate(size);
}

void* Reallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/) noexcept {
    if (size == 0) {
        ReserveMemory::Free(block);
        return nullptr;
    }
    return ReserveMemory::Reallocate(block, size);
}

void Free(void* block, const char* /*file*/, int /*line*/) noexcept {
    ReserveMemory::Free(block);
}

} // namespace

void InstallCryptoMemory() noexcept {
    // Refused as soon as something has been allocated, so that blocks go back to where they are
    // from.
    static_cast<void>(CRYPTO_set_mem_functions(&Allocate, &Reallocate, &Free));
}

} // namespace Nax::FrontEnd::XMLDB
