// SPDX-License-Identifier: Apache-2.0
#include "platform/xml_stream.h"

#include "xml_document.h"
#include "xml_stream.h"

#include <libxml/xmlerror.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

std::shared_ptr<SXmlFaultList> OneFault(SXmlFault fault) {
    auto faults = std::make_shared<SXmlFaultList>();
    faults->Add([&] { return std::move(fault); });
    return faults;
}

} // namespace

const TXmlSchemas* CXmlDocument::SchemasInForce() const noexcept {
    const auto* collection = dynamic_cast<const CXmlSchemaCollection*>(m_schemas.GetInterfacePtr());
    return m_validatesOnParse && collection != nullptr && !collection->Schemas().empty()
               ? &collection->Schemas()
               : nullptr;
}

HRESULT CXmlDocument::load(VARIANT source, VARIANT_BOOL* successful) noexcept {
    if (successful == nullptr) {
        return E_POINTER;
    }
    *successful = VARIANT_FALSE;
    return Guarded([&] { return LoadFile(source, nullptr, successful); });
}

HRESULT CXmlDocument::LoadAndReport(const VARIANT& source, IXmlElementSink& sink,
                                    VARIANT_BOOL* successful) noexcept {
    if (successful == nullptr) {
        return E_POINTER;
    }
    *successful = VARIANT_FALSE;
    return Guarded([&] { return LoadFile(source, &sink, successful); });
}

HRESULT CXmlDocument::loadXML(BSTR text, VARIANT_BOOL* successful) noexcept {
    if (successful == nullptr) {
        return E_POINTER;
    }
    *successful = VARIANT_FALSE;
    return Guarded([&] {
        SOrigin origin{std::string(), Utf8Of(text)};
        const auto source = CXmlSource::FromText(origin.text);
        return LoadSource(*source, std::move(origin), nullptr, successful);
    });
}

HRESULT CXmlDocument::LoadFile(const VARIANT& source, IXmlElementSink* sink,
                               VARIANT_BOOL* successful) {
    if (source.vt != VT_BSTR) {
        return E_INVALIDARG;
    }
    const std::string name = Utf8Of(source.bstrVal);
    try {
        const std::string path = LocalPathOf(name);
        const auto file = CXmlSource::FromFile(path);
        return LoadSource(*file, {path, std::string()}, sink, successful);
    } catch (const CXmlFailure& failure) {
        SetTree(CXmlTree::NewEmpty());
        m_pending.reset();
        auto faults = OneFault({.code = XML_IO_LOAD_ERROR, .reason = failure.what()});
        faults->url = name;
        return Finish(std::move(faults), successful);
    }
}

HRESULT CXmlDocument::LoadSource(CXmlSource& source, SOrigin origin, IXmlElementSink* sink,
                                 VARIANT_BOOL* successful) {
    SetTree(CXmlTree::NewEmpty());
    m_pending.reset();
    const std::string name = origin.path;
    auto faults = std::make_shared<SXmlFaultList>();
    const TXmlSchemas* schemas = SchemasInForce();
    if (source.IsEmpty()) {
        const std::string what =
            origin.path.empty() ? "The text" : "The file \"" + origin.path + "\"";
        faults = OneFault({.code = XML_ERR_DOCUMENT_EMPTY, .reason = what + " is empty."});
    } else if (schemas == nullptr && sink == nullptr) {
        std::optional<SXmlFault> fault;
        const std::string url = origin.path.empty() ? std::string() : FileUrlOf(origin.path);
        if (auto tree = BuildTree(source, url, TreeOptions(), fault)) {
            SetTree(std::move(tree));
        } else {
            faults = OneFault(std::move(*fault));
        }
    } else {
        CXmlStream stream(source, {.schemas = schemas,
                                   .sink = sink,
                                   .prohibitDtd = m_prohibitsDtd,
                                   .allFaults = m_collectsAllFaults});
        *faults = stream.Parse();
        if (faults->total == 0) {
            m_pending = std::make_unique<SOrigin>(std::move(origin));
        }
    }
    faults->url = name;
    return Finish(std::move(faults), successful);
}

HRESULT CXmlDocument::Finish(std::shared_ptr<SXmlFaultList> faults, VARIANT_BOOL* successful) {
    m_faults = std::move(faults);
    const bool isGood = m_faults->total == 0;
    *successful = isGood ? VARIANT_TRUE : VARIANT_FALSE;
    return isGood ? S_OK : S_FALSE;
}

void CXmlDocument::BuildPendingTree() {
    const std::unique_ptr<SOrigin> origin = std::move(m_pending);
    const bool isFile = !origin->path.empty();
    const auto source =
        isFile ? CXmlSource::FromFile(origin->path) : CXmlSource::FromText(origin->text);
    SetTree(LoadTree(*source, isFile ? FileUrlOf(origin->path) : std::string(), TreeOptions()));
}

HRESULT LoadAndReport(IXMLDOMDocument2* document, const VARIANT& source, IXmlElementSink& sink,
                      VARIANT_BOOL* successful) noexcept {
    auto* loadable = dynamic_cast<CXmlDocument*>(document);
    return loadable == nullptr ? E_INVALIDARG : loadable->LoadAndReport(source, sink, successful);
}

} // namespace Nax::FrontEnd::XMLDB
