// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_memory.h"

#include <naxfewxmldb/platform/com_types.h>

#include <atomic>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

/// A failure that an interface operation turns into its result code and description.
class CXmlFailure : public std::exception {
public:
    explicit CXmlFailure(std::string description, HRESULT result = E_FAIL)
        : m_description(std::move(description)), m_result(result) {}

    const char* what() const noexcept override { return m_description.c_str(); }
    HRESULT Result() const noexcept { return m_result; }

private:
    std::string m_description;
    HRESULT m_result;
};

/// Sets what GetErrorDescription gives to the calling thread next.
void SetErrorDescription(std::string_view description) noexcept;

/// Turns the exception being handled into a result code; sets the thread's description.
HRESULT ResultOfCurrentException() noexcept;

/// Runs `operation`, which returns a result code and may throw. An allocation of the XML libraries
/// that failed meanwhile fails it, too.
template <class Operation>
HRESULT Guarded(Operation&& operation) noexcept {
    try {
        const CXmlMemoryWatch memory;
        const HRESULT result = operation();
        memory.ThrowIfFailed();
        return result;
    } catch (...) {
        return ResultOfCurrentException();
    }
}

/// A new BSTR with `text`, which is UTF-8.
BSTR NewBstr(std::string_view text);
std::string Utf8Of(BSTR text);

bool IsBaseInterface(const IID& iid) noexcept;

/// Reference counting and interface lookup of an object that implements `Interface`. Objects are
/// made by MakeComObject, start with one reference and delete themselves with the last one.
template <class Interface>
class CComObject : public Interface {
public:
    CComObject() = default;
    CComObject(const CComObject&) = delete;
    CComObject& operator=(const CComObject&) = delete;
    virtual ~CComObject() = default;

    HRESULT QueryInterface(const IID& iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (!IsBaseInterface(iid) && !Implements(iid)) {
            return E_NOINTERFACE;
        }
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG AddRef() noexcept override { return ++m_references; }
    ULONG Release() noexcept override {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    virtual bool Implements(const IID& iid) const noexcept { return iid == Interface::IID_; }

private:
    std::atomic<ULONG> m_references{1};
};

/// A new object, held by its first reference.
template <class Object, class Interface, class... Arguments>
_com_ptr_t<Interface> MakeComObject(Arguments&&... arguments) {
    return _com_ptr_t<Interface>(new Object(std::forward<Arguments>(arguments)...), false);
}

} // namespace Nax::FrontEnd::XMLDB
