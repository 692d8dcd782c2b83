// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/platform/bstr.h>

#include "support/text_conversion.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace {

// A BSTR points behind its length, so that the length survives embedded zeros.
struct SHeader {
    alignas(std::max_align_t) unsigned int length;
};

SHeader* HeaderOf(BSTR text) {
    return reinterpret_cast<SHeader*>(reinterpret_cast<char*>(text) - sizeof(SHeader));
}

std::wstring_view ViewOf(BSTR text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text, SysStringLen(text));
}

BSTR AllocateFrom(std::wstring_view text) {
    return SysAllocStringLen(text.data(), static_cast<unsigned int>(text.size()));
}

} // namespace

BSTR SysAllocStringLen(const wchar_t* text, unsigned int length) {
    const std::size_t size =
        sizeof(SHeader) + (static_cast<std::size_t>(length) + 1) * sizeof(wchar_t);
    char* block = static_cast<char*>(std::calloc(size, 1));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    BSTR result = reinterpret_cast<BSTR>(block + sizeof(SHeader));
    HeaderOf(result)->length = length;
    if (text != nullptr) {
        std::copy_n(text, length, result);
    }
    return result;
}

BSTR SysAllocString(const wchar_t* text) {
    return text == nullptr ? nullptr : AllocateFrom(text);
}

void SysFreeString(BSTR text) noexcept {
    if (text != nullptr) {
        std::free(HeaderOf(text));
    }
}

unsigned int SysStringLen(BSTR text) noexcept {
    return text == nullptr ? 0 : HeaderOf(text)->length;
}

struct _bstr_t::Data {
    explicit Data(BSTR text) noexcept : wide(text) {}
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;
    ~Data() { SysFreeString(wide); }

    char* Narrow() {
        std::call_once(narrowMade,
                       [this] { Nax::FrontEnd::XMLDB::AppendUtf8(narrow, ViewOf(wide)); });
        return narrow.data();
    }

    BSTR wide;
    std::once_flag narrowMade;
    std::string narrow;
};

_bstr_t::_bstr_t() noexcept = default;

_bstr_t::_bstr_t(const char* text) {
    if (text != nullptr) {
        m_data = std::make_shared<Data>(AllocateFrom(Nax::FrontEnd::XMLDB::ToWide(text)));
    }
}

_bstr_t::_bstr_t(const wchar_t* text) {
    if (text != nullptr) {
        m_data = std::make_shared<Data>(SysAllocString(text));
    }
}

_bstr_t::_bstr_t(BSTR text, bool copy) {
    if (text != nullptr) {
        m_data = std::make_shared<Data>(copy ? AllocateFrom(ViewOf(text)) : text);
    }
}

_bstr_t& _bstr_t::operator=(const char* text) {
    return *this = _bstr_t(text);
}

_bstr_t& _bstr_t::operator=(const wchar_t* text) {
    return *this = _bstr_t(text);
}

_bstr_t::~_bstr_t() = default;

_bstr_t::operator const wchar_t*() const noexcept {
    return GetBSTR();
}

_bstr_t::operator wchar_t*() const noexcept {
    return GetBSTR();
}

_bstr_t::operator const char*() const {
    return m_data == nullptr || m_data->wide == nullptr ? nullptr : m_data->Narrow();
}

_bstr_t::operator char*() const {
    return m_data == nullptr || m_data->wide == nullptr ? nullptr : m_data->Narrow();
}

BSTR _bstr_t::GetBSTR() const noexcept {
    return m_data == nullptr ? nullptr : m_data->wide;
}

BSTR* _bstr_t::GetAddress() {
    m_data = std::make_shared<Data>(nullptr);
    return &m_data->wide;
}

BSTR _bstr_t::Detach() {
    const std::shared_ptr<Data> data = std::move(m_data);
    m_data.reset();
    if (data == nullptr) {
        return nullptr;
    }
    return data.use_count() == 1 ? std::exchange(data->wide, nullptr)
                                 : AllocateFrom(ViewOf(data->wide));
}

unsigned int _bstr_t::length() const noexcept {
    return SysStringLen(GetBSTR());
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& other) {
    std::wstring joined(ViewOf(GetBSTR()));
    joined += ViewOf(other.GetBSTR());
    m_data = std::make_shared<Data>(AllocateFrom(joined));
    return *this;
}

_bstr_t _bstr_t::operator+(const _bstr_t& other) const {
    _bstr_t sum = *this;
    return sum += other;
}

int _bstr_t::Compare(const _bstr_t& other) const noexcept {
    return ViewOf(GetBSTR()).compare(ViewOf(other.GetBSTR()));
}

_bstr_t operator+(const char* left, const _bstr_t& right) {
    return _bstr_t(left) + right;
}

_bstr_t operator+(const wchar_t* left, const _bstr_t& right) {
    return _bstr_t(left) + right;
}
