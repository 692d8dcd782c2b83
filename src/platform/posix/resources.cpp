// SPDX-License-Identifier: Apache-2.0
#include "platform/resources.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>

namespace {

// Set before any static object of the module is built, so that the generated files may register
// in any order.
constinit const EmbeddedResource* firstResource = nullptr;

void* ModuleOf(const void* address) noexcept {
    Dl_info info = {};
    return ::dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

} // namespace

bool ResourceName::operator==(const ResourceName& other) const noexcept {
    if (m_text == nullptr || other.m_text == nullptr) {
        return m_text == other.m_text && m_number == other.m_number;
    }
    return std::strcmp(m_text, other.m_text) == 0;
}

BOOL GetModuleHandleExA(DWORD flags, const char* address, HMODULE* module) noexcept {
    *module = nullptr;
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) == 0) {
        SetLastError(EINVAL);
        return FALSE;
    }
    *module = ModuleOf(address);
    if (*module == nullptr) {
        SetLastError(ENOENT);
    }
    return *module != nullptr ? TRUE : FALSE;
}

HRSRC FindResourceA(HMODULE module, ResourceName name, ResourceName type) noexcept {
    if (module != nullptr && module == ModuleOf(&firstResource)) {
        for (HRSRC resource = firstResource; resource != nullptr; resource = resource->next) {
            if (resource->name == name && resource->type == type) {
                return resource;
            }
        }
    }
    SetLastError(ENOENT);
    return nullptr;
}

HGLOBAL LoadResource(HMODULE /*module*/, HRSRC resource) noexcept {
    return resource == nullptr ? nullptr : resource->bytes;
}

DWORD SizeofResource(HMODULE /*module*/, HRSRC resource) noexcept {
    return resource == nullptr ? 0 : resource->size;
}

const void* LockResource(HGLOBAL data) noexcept {
    return data;
}

bool RegisterResource(EmbeddedResource& resource) noexcept {
    resource.next = firstResource;
    firstResource = &resource;
    return true;
}
