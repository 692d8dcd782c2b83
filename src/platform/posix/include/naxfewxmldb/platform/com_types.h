// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// The component model's vocabulary, with the names and values of the platform where it is native:
/// result codes, interface identities, counted objects and tagged values. Only what the library
/// and its hosts use.
#include <naxfewxmldb/export.h>
#include <naxfewxmldb/platform/bstr.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

using HRESULT = std::int32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using VARIANT_BOOL = std::int16_t;
using VARTYPE = std::uint16_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001U);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002U);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003U);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005U);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154U);

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

constexpr bool SUCCEEDED(HRESULT result) {
    return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
    return result < 0;
}

/// Identifies an interface or a class.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;

inline bool operator==(const GUID& left, const GUID& right) noexcept {
    return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}

/// Base of every counted object: each holder owns one reference. Counting is thread-safe, the
/// objects themselves are used by one thread at a time unless they say otherwise.
struct NAXFEWXMLDB_EXPORT IUnknown {
    virtual HRESULT QueryInterface(const IID& iid, void** object) noexcept = 0;
    virtual ULONG AddRef() noexcept = 0;
    virtual ULONG Release() noexcept = 0;

protected:
    ~IUnknown() = default;
};

/// Base of the document interfaces; a VARIANT of type VT_DISPATCH holds one.
struct NAXFEWXMLDB_EXPORT IDispatch : IUnknown {
protected:
    ~IDispatch() = default;
};

inline constexpr VARTYPE VT_EMPTY = 0;
inline constexpr VARTYPE VT_NULL = 1;
inline constexpr VARTYPE VT_I2 = 2;
inline constexpr VARTYPE VT_I4 = 3;
inline constexpr VARTYPE VT_BSTR = 8;
inline constexpr VARTYPE VT_DISPATCH = 9;
inline constexpr VARTYPE VT_BOOL = 11;
inline constexpr VARTYPE VT_UNKNOWN = 13;

/// A tagged value. Plain data: passing one by value shares, never copies, what it points to.
struct VARIANT {
    VARTYPE vt;
    union {
        std::int16_t iVal;
        std::int32_t lVal;
        VARIANT_BOOL boolVal;
        BSTR bstrVal;
        IDispatch* pdispVal;
        IUnknown* punkVal;
    };
};

/// Owning VARIANT: frees its string or releases its object. Move only.
class NAXFEWXMLDB_EXPORT _variant_t : public VARIANT {
public:
    _variant_t() noexcept;
    explicit _variant_t(short value) noexcept;
    explicit _variant_t(const wchar_t* text);
    explicit _variant_t(const char* text);
    explicit _variant_t(IDispatch* object) noexcept;
    _variant_t(_variant_t&& other) noexcept;
    _variant_t& operator=(_variant_t&& other) noexcept;
    _variant_t(const _variant_t&) = delete;
    _variant_t& operator=(const _variant_t&) = delete;
    ~_variant_t();

    void Clear() noexcept;
};

/// A failed result code as an exception. Description may be empty.
class NAXFEWXMLDB_EXPORT _com_error {
public:
    explicit _com_error(HRESULT result, const _bstr_t& description = _bstr_t());
    virtual ~_com_error();
    _com_error(const _com_error&) = default;
    _com_error& operator=(const _com_error&) = default;

    HRESULT Error() const noexcept { return m_result; }
    /// The system's text for the code; valid as long as this object.
    const char* ErrorMessage() const noexcept { return m_message.operator const char*(); }
    _bstr_t Description() const { return m_description; }

private:
    HRESULT m_result;
    _bstr_t m_message;
    _bstr_t m_description;
};

/// Throws `_com_error`.
[[noreturn]] NAXFEWXMLDB_EXPORT void _com_issue_error(HRESULT result);

/// Creates the object of class `clsid` with one reference; E_OUTOFMEMORY, REGDB_E_CLASSNOTREG.
NAXFEWXMLDB_EXPORT HRESULT CoCreateInstance(const CLSID& clsid, const IID& iid,
                                            void** object) noexcept;

/// Counted pointer to one interface. The identity comes from the interface's static `IID_` member.
template <class Interface>
class _com_ptr_t {
public:
    _com_ptr_t() noexcept = default;
    _com_ptr_t(std::nullptr_t) noexcept {}
    /// Takes a reference of its own unless `addRef` is false.
    _com_ptr_t(Interface* object, bool addRef = true) noexcept : m_object(object) {
        if (m_object != nullptr && addRef) {
            m_object->AddRef();
        }
    }
    _com_ptr_t(const _com_ptr_t& other) noexcept : _com_ptr_t(other.m_object) {}
    _com_ptr_t(_com_ptr_t&& other) noexcept : m_object(other.Detach()) {}
    _com_ptr_t& operator=(const _com_ptr_t& other) noexcept {
        if (m_object != other.m_object) {
            _com_ptr_t copy(other);
            Swap(copy);
        }
        return *this;
    }
    _com_ptr_t& operator=(_com_ptr_t&& other) noexcept {
        if (this != std::addressof(other)) {
            Release();
            m_object = other.Detach();
        }
        return *this;
    }
    ~_com_ptr_t() { Release(); }

    HRESULT CreateInstance(const CLSID& clsid) noexcept {
        Release();
        return CoCreateInstance(clsid, Interface::IID_, reinterpret_cast<void**>(&m_object));
    }
    /// The same object through another interface.
    template <class Other>
    HRESULT QueryInterface(_com_ptr_t<Other>& other) const noexcept {
        if (m_object == nullptr) {
            return E_POINTER;
        }
        return m_object->QueryInterface(Other::IID_, reinterpret_cast<void**>(&other));
    }

    operator Interface*() const noexcept { return m_object; }
    Interface* GetInterfacePtr() const noexcept { return m_object; }
    Interface* operator->() const {
        if (m_object == nullptr) {
            _com_issue_error(E_POINTER);
        }
        return m_object;
    }
    /// Releases, then gives the slot that an interface operation fills.
    Interface** operator&() noexcept {
        Release();
        return &m_object;
    }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    Interface* Detach() noexcept {
        Interface* object = m_object;
        m_object = nullptr;
        return object;
    }
    void Release() noexcept {
        if (Interface* object = Detach()) {
            object->Release();
        }
    }
    void Swap(_com_ptr_t& other) noexcept {
        Interface* object = m_object;
        m_object = other.m_object;
        other.m_object = object;
    }

private:
    Interface* m_object = nullptr;
};
