// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// The wide strings that pass the library's boundary.
#include <naxfewxmldb/export.h>

#include <cstddef>
#include <memory>

/// A length-prefixed wide string as the XML interfaces pass it. Null and empty mean the same to
/// callees. Whoever receives one through an output parameter frees it with SysFreeString; holding
/// it in a `_bstr_t` does that.
using BSTR = wchar_t*;

/// Copies `text` into a new BSTR; null for null input. Throws std::bad_alloc when out of memory.
NAXFEWXMLDB_EXPORT BSTR SysAllocString(const wchar_t* text);
/// Copies `length` characters, embedded zeros included; null `text` gives zeros.
NAXFEWXMLDB_EXPORT BSTR SysAllocStringLen(const wchar_t* text, unsigned int length);
NAXFEWXMLDB_EXPORT void SysFreeString(BSTR text) noexcept;
NAXFEWXMLDB_EXPORT unsigned int SysStringLen(BSTR text) noexcept;

/// Counted wide string with a narrow (UTF-8) view.
///
/// Copies share one immutable text, so copying is cheap and safe between threads; the narrow view
/// is made on first use, under a once guard. A default-constructed or null-constructed object is
/// null: both pointer conversions give a null pointer and the length is 0. Bytes that are not
/// UTF-8 become U+FFFD.
class NAXFEWXMLDB_EXPORT _bstr_t {
public:
    _bstr_t() noexcept;
    _bstr_t(const char* text);
    _bstr_t(const wchar_t* text);
    /// Takes `text` over (copy = false) or copies it.
    _bstr_t(BSTR text, bool copy);
    _bstr_t(const _bstr_t&) noexcept = default;
    _bstr_t(_bstr_t&&) noexcept = default;
    _bstr_t& operator=(const _bstr_t&) noexcept = default;
    _bstr_t& operator=(_bstr_t&&) noexcept = default;
    _bstr_t& operator=(const char* text);
    _bstr_t& operator=(const wchar_t* text);
    ~_bstr_t();

    operator const wchar_t*() const noexcept;
    operator wchar_t*() const noexcept;
    operator const char*() const;
    operator char*() const;

    /// The raw BSTR, owned by this object; for passing to interface operations.
    BSTR GetBSTR() const noexcept;
    /// Empties the object and gives the slot that an interface operation fills.
    BSTR* GetAddress();
    /// Hands the text over to the caller (a copy when it is shared).
    BSTR Detach();

    /// Length in characters, 0 for null.
    unsigned int length() const noexcept;
    bool operator!() const noexcept { return length() == 0; }

    _bstr_t& operator+=(const _bstr_t& other);
    _bstr_t operator+(const _bstr_t& other) const;
    _bstr_t operator+(const char* other) const { return *this + _bstr_t(other); }
    _bstr_t operator+(const wchar_t* other) const { return *this + _bstr_t(other); }

    /// Ordered by character value; null equals empty.
    bool operator==(const _bstr_t& other) const noexcept { return Compare(other) == 0; }
    bool operator!=(const _bstr_t& other) const noexcept { return Compare(other) != 0; }
    bool operator<(const _bstr_t& other) const noexcept { return Compare(other) < 0; }
    bool operator>(const _bstr_t& other) const noexcept { return Compare(other) > 0; }
    bool operator<=(const _bstr_t& other) const noexcept { return Compare(other) <= 0; }
    bool operator>=(const _bstr_t& other) const noexcept { return Compare(other) >= 0; }

private:
    struct Data;
    int Compare(const _bstr_t& other) const noexcept;

    std::shared_ptr<Data> m_data;
};

NAXFEWXMLDB_EXPORT _bstr_t operator+(const char* left, const _bstr_t& right);
NAXFEWXMLDB_EXPORT _bstr_t operator+(const wchar_t* left, const _bstr_t& right);
