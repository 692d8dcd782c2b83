// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/memory.h>
#include <naxfewxmldb/platform/com_types.h>

#include <new>

namespace Nax::FrontEnd::XMLDB {

/// What an exported operation does: want of memory, of our own or of the documents, makes it return
/// false, since no exception may leave the library.
template <typename Operation>
bool WithinMemory(Operation&& operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        NoteFailedAllocation();
    } catch (const _com_error&) {
        // Traced where it was raised.
    }
    return false;
}

} // namespace Nax::FrontEnd::XMLDB
