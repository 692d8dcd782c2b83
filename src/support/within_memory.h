// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/memory.h>
#include <naxfewxmldb/platform/com_types.h>

#include <new>

namespace Nax::FrontEnd::XMLDB {

/// For the catch block of an exported operation: want of memory, of our own or of the documents,
/// makes it return false, since no exception may leave the library. Anything else is thrown on.
inline bool FailWithoutMemory() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        NoteFailedAllocation();
    } catch (const _com_error&) {
        // Traced where it was raised.
    }
    return false;
}

/// The same around a part of an operation.
template <typename Operation>
bool WithinMemory(Operation&& operation) {
    try {
        return operation();
    } catch (...) {
        return FailWithoutMemory();
    }
}

} // namespace Nax::FrontEnd::XMLDB
