// SPDX-License-Identifier: Apache-2.0
#include "xml_parse_error.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

using TFaults = std::shared_ptr<const SXmlFaultList>;

template <class Value>
HRESULT Put(Value value, Value* slot) noexcept {
    if (slot == nullptr) {
        return E_POINTER;
    }
    *slot = value;
    return S_OK;
}

HRESULT PutText(const std::string& text, BSTR* slot) noexcept {
    if (slot == nullptr) {
        return E_POINTER;
    }
    *slot = nullptr;
    return Guarded([&] {
        *slot = NewBstr(text);
        return text.empty() ? S_FALSE : S_OK;
    });
}

class CParseError final : public CComObject<IXMLDOMParseError2> {
public:
    CParseError(TFaults faults, std::size_t index) : m_faults(std::move(faults)), m_index(index) {}

    HRESULT get_errorCode(long* code) noexcept override {
        return Put(static_cast<long>(Fault().code), code);
    }
    HRESULT get_url(BSTR* url) noexcept override { return PutText(m_faults->url, url); }
    HRESULT get_reason(BSTR* reason) noexcept override { return PutText(Fault().reason, reason); }
    HRESULT get_srcText(BSTR* text) noexcept override { return PutText(Fault().sourceText, text); }
    HRESULT get_line(long* line) noexcept override { return Put(Fault().line, line); }
    HRESULT get_linepos(long* position) noexcept override {
        return Put(Fault().position, position);
    }
    HRESULT get_allErrors(IXMLDOMParseErrorCollection** errors) noexcept override;

protected:
    bool Implements(const IID& iid) const noexcept override {
        return iid == IXMLDOMParseError2::IID_ || iid == IXMLDOMParseError::IID_;
    }

private:
    const SXmlFault& Fault() const noexcept {
        static const SXmlFault none;
        return m_index < m_faults->faults.size() ? m_faults->faults[m_index] : none;
    }

    TFaults m_faults;
    std::size_t m_index;
};

class CParseErrorCollection final : public CComObject<IXMLDOMParseErrorCollection> {
public:
    explicit CParseErrorCollection(TFaults faults) : m_faults(std::move(faults)) {}

    HRESULT get_item(long index, IXMLDOMParseError2** error) noexcept override {
        if (error == nullptr) {
            return E_POINTER;
        }
        *error = nullptr;
        if (index < 0 || static_cast<std::size_t>(index) >= m_faults->faults.size()) {
            return S_FALSE;
        }
        return Guarded([&] {
            *error = MakeComObject<CParseError, IXMLDOMParseError2>(m_faults,
                                                                    static_cast<std::size_t>(index))
                         .Detach();
            return S_OK;
        });
    }
    HRESULT get_length(long* length) noexcept override {
        return Put(static_cast<long>(m_faults->total), length);
    }

private:
    TFaults m_faults;
};

HRESULT CParseError::get_allErrors(IXMLDOMParseErrorCollection** errors) noexcept {
    if (errors == nullptr) {
        return E_POINTER;
    }
    *errors = nullptr;
    return Guarded([&] {
        *errors =
            MakeComObject<CParseErrorCollection, IXMLDOMParseErrorCollection>(m_faults).Detach();
        return S_OK;
    });
}

} // namespace

IXMLDOMParseErrorPtr MakeParseError(std::shared_ptr<const SXmlFaultList> faults) {
    return MakeComObject<CParseError, IXMLDOMParseError>(std::move(faults), std::size_t{0});
}

} // namespace Nax::FrontEnd::XMLDB
