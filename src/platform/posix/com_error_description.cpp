// SPDX-License-Identifier: Apache-2.0
#include "xml_com_object.h"

#include "support/text_conversion.h"

#include <naxfewxmldb/memory.h>
#include <naxfewxmldb/platform/xml_dom.h>

#include <pthread.h>

#include <memory>

namespace {

/// The calling thread's text. Kept by a key of the thread: the registration of a destructor, which
/// a thread's object needs, ends the process when there is no memory for it.
std::string& ThreadDescription() {
    struct SKey {
        pthread_key_t key{};
        bool made = ::pthread_key_create(&key, [](void* text) {
                        std::default_delete<std::string>()(static_cast<std::string*>(text));
                    }) == 0;
    };
    static const SKey key;
    auto* description = static_cast<std::string*>(::pthread_getspecific(key.key));
    if (description == nullptr) {
        auto created = std::make_unique<std::string>();
        if (!key.made || ::pthread_setspecific(key.key, created.get()) != 0) {
            throw std::bad_alloc();
        }
        description = created.release();
    }
    return *description;
}

} // namespace

_bstr_t GetErrorDescription() {
    const std::string description = std::exchange(ThreadDescription(), std::string());
    return description.empty() ? _bstr_t() : _bstr_t(description.c_str());
}

namespace Nax::FrontEnd::XMLDB {

void SetErrorDescription(std::string_view description) noexcept {
    try {
        ThreadDescription() = description;
    } catch (const std::bad_alloc&) {
        // Without a text.
    }
}

HRESULT ResultOfCurrentException() noexcept {
    try {
        throw;
    } catch (const CXmlFailure& failure) {
        SetErrorDescription(failure.what());
        return failure.Result();
    } catch (const std::bad_alloc&) {
        NoteFailedAllocation();
        return E_OUTOFMEMORY;
    } catch (const _com_error& error) {
        return error.Error();
    } catch (const std::exception& error) {
        SetErrorDescription(error.what());
        return E_FAIL;
    } catch (...) {
        return E_FAIL;
    }
}

BSTR NewBstr(std::string_view text) {
    const std::wstring wide = ToWide(text);
    return SysAllocStringLen(wide.data(), static_cast<unsigned int>(wide.size()));
}

std::string Utf8Of(BSTR text) {
    return text == nullptr ? std::string() : ToUtf8(std::wstring_view(text, SysStringLen(text)));
}

bool IsBaseInterface(const IID& iid) noexcept {
    static constexpr IID unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    static constexpr IID dispatch = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    return iid == unknown || iid == dispatch;
}

} // namespace Nax::FrontEnd::XMLDB
