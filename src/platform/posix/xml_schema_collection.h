// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_com_object.h"
#include "xml_compiled_schema.h"

#include <naxfewxmldb/platform/xml_dom.h>
#include <string_view>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

using TXmlSchemas = std::vector<std::pair<std::string, std::shared_ptr<const CXmlCompiledSchema>>>;

/// The schema cache object: compiled schemas by target namespace. Filled by one thread, then
/// readable by several.
class CXmlSchemaCollection : public CComObject<IXMLDOMSchemaCollection2> {
public:
    HRESULT add(BSTR namespaceUri, VARIANT schema) noexcept override;
    HRESULT get_length(long* length) noexcept override;

    const TXmlSchemas& Schemas() const noexcept { return m_schemas; }

private:
    TXmlSchemas m_schemas;
};

_com_ptr_t<IXMLDOMSchemaCollection2> MakeXmlSchemaCollection();

} // namespace Nax::FrontEnd::XMLDB
