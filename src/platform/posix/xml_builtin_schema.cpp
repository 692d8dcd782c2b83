// SPDX-License-Identifier: Apache-2.0
#include "platform/resources.h"
#include "xml_loader.h"

#include <string_view>

namespace Nax::FrontEnd::XMLDB {

std::string_view BuiltInXmlNamespaceSchema() {
    constexpr int kXmlNamespaceSchema = 200;
    HMODULE module = nullptr;
    GetModuleHandleExA(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const char*>(&BuiltInXmlNamespaceSchema), &module);
    const HRSRC resource =
        FindResourceA(module, MAKEINTRESOURCEA(kXmlNamespaceSchema), "MY_TEXTINCLUDE");
    return {static_cast<const char*>(LockResource(LoadResource(module, resource))),
            SizeofResource(module, resource)};
}

} // namespace Nax::FrontEnd::XMLDB
