// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/platform/xml_dom.h>
#include <naxfewxmldb/xml_element_sink.h>

namespace Nax::FrontEnd::XMLDB {

/// As `document->load(source, successful)`, and hands every element to `sink` in the same pass
/// over the file. Elements reach the sink also when the document violates its schema. The
/// document's tree is not built; a later request for one of its nodes parses the source again.
HRESULT LoadAndReport(IXMLDOMDocument2* document, const VARIANT& source, IXmlElementSink& sink,
                      VARIANT_BOOL* successful) noexcept;

/// Tells a violation of the schema from a fault of the document itself (unreadable, not
/// well-formed) by a parse error's code.
bool IsSchemaFault(long errorCode) noexcept;
/// The same for what the system could not open or read.
bool IsReadingFault(long errorCode) noexcept;

} // namespace Nax::FrontEnd::XMLDB
