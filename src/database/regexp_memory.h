// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <memory>

namespace Nax::FrontEnd::XMLDB {

/// Destroys an object that MakeRegexpObject made.
struct SRegexpDeleter {
    template <typename T>
    void operator()(T* object) const {
        std::destroy_at(object);
        sqlite3_free(object);
    }
};

/// Frees plain memory of SQLite's.
struct SRegexpMemoryDeleter {
    void operator()(void* memory) const { sqlite3_free(memory); }
};

template <typename T>
using RegexpPtr = std::unique_ptr<T, SRegexpDeleter>;

/// A default-constructed object in SQLite's memory; null when there is no memory left.
template <typename T>
RegexpPtr<T> MakeRegexpObject() {
    void* memory = sqlite3_malloc64(sizeof(T));
    return RegexpPtr<T>(memory == nullptr ? nullptr : std::construct_at(static_cast<T*>(memory)));
}

} // namespace Nax::FrontEnd::XMLDB
