// SPDX-License-Identifier: Apache-2.0
#pragma once

// Resources of a module: blocks of bytes with an id and a type. The build turns files into one
// generated source each (cmake/EmbedResources.cmake), which registers itself when its module is
// loaded. The bytes live as long as the module, are followed by a zero that is not counted, and
// nothing has to be released. All operations may be called from any thread.
#include "platform/basic_types.h"

/// Name or type of a resource: a number or a text.
class ResourceName {
public:
    constexpr ResourceName(const char* text) noexcept : m_text(text) {}
    static constexpr ResourceName FromNumber(int number) noexcept {
        ResourceName name(nullptr);
        name.m_number = number;
        return name;
    }
    bool operator==(const ResourceName& other) const noexcept;

private:
    const char* m_text;
    int m_number = 0;
};

/// One embedded file, defined by generated code only.
struct EmbeddedResource {
    ResourceName name;
    ResourceName type;
    const unsigned char* bytes;
    DWORD size;
    const EmbeddedResource* next = nullptr;
};

using HRSRC = const EmbeddedResource*;
using HGLOBAL = const void*;

constexpr ResourceName MAKEINTRESOURCEA(int id) noexcept {
    return ResourceName::FromNumber(id);
}
inline constexpr ResourceName RT_RCDATA = MAKEINTRESOURCEA(10);

inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT = 2;
inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;

/// The module that holds `address`. Only the "from address" form is there; handles are not counted.
BOOL GetModuleHandleExA(DWORD flags, const char* address, HMODULE* module) noexcept;

/// Null when `module` is not this library or has no such resource.
HRSRC FindResourceA(HMODULE module, ResourceName name, ResourceName type) noexcept;
HGLOBAL LoadResource(HMODULE module, HRSRC resource) noexcept;
DWORD SizeofResource(HMODULE module, HRSRC resource) noexcept;
const void* LockResource(HGLOBAL data) noexcept;

/// Adds `resource`, which must live as long as the module, to the module's table. Called by
/// generated code while the module is loaded, never later.
bool RegisterResource(EmbeddedResource& resource) noexcept;
