// SPDX-License-Identifier: Apache-2.0
#include "xml_schema_collection.h"

#include "xml_document.h"
#include "xml_source.h"
#include "xml_tree.h"

#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

SXmlText SchemaTextOf(const VARIANT& schema) {
    if (schema.vt == VT_BSTR) {
        const std::string path = LocalPathOf(Utf8Of(schema.bstrVal));
        const auto source = CXmlSource::FromFile(path);
        return {LoadTree(*source, FileUrlOf(path), SXmlTreeOptions{})->Serialized(),
                FileUrlOf(path)};
    }
    if (schema.vt != VT_DISPATCH || schema.pdispVal == nullptr) {
        throw CXmlFailure("A schema is a document or a path.", E_INVALIDARG);
    }
    auto* document = dynamic_cast<CXmlDocument*>(schema.pdispVal);
    if (document == nullptr) {
        throw CXmlFailure("A schema is a document or a path.", E_INVALIDARG);
    }
    return document->Text();
}

} // namespace

HRESULT CXmlSchemaCollection::add(BSTR namespaceUri, VARIANT schema) noexcept {
    return Guarded([&] {
        const std::string name = Utf8Of(namespaceUri);
        const SXmlText text = SchemaTextOf(schema);
        auto compiled = CXmlCompiledSchema::Compile(text.text, text.url);
        const std::string& target = compiled->Outline().TargetNamespace();
        if (target != name) {
            throw CXmlFailure("The schema's target namespace \"" + target +
                              "\" is not the namespace \"" + name + "\" it is added for.");
        }
        const auto place = std::find_if(m_schemas.begin(), m_schemas.end(),
                                        [&](const auto& entry) { return entry.first == name; });
        if (place != m_schemas.end()) {
            place->second = std::move(compiled);
        } else {
            m_schemas.emplace_back(name, std::move(compiled));
        }
        return S_OK;
    });
}

HRESULT CXmlSchemaCollection::get_length(long* length) noexcept {
    if (length == nullptr) {
        return E_POINTER;
    }
    *length = static_cast<long>(m_schemas.size());
    return S_OK;
}

_com_ptr_t<IXMLDOMSchemaCollection2> MakeXmlSchemaCollection() {
    return MakeComObject<CXmlSchemaCollection, IXMLDOMSchemaCollection2>();
}

} // namespace Nax::FrontEnd::XMLDB
