// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_com_object.h"
#include "xml_fault.h"

#include <naxfewxmldb/platform/xml_dom.h>
#include <memory>

namespace Nax::FrontEnd::XMLDB {

/// The first fault of a load, or an object that tells of none. It shares the list, so it stays as
/// it is when the document loads again.
IXMLDOMParseErrorPtr MakeParseError(std::shared_ptr<const SXmlFaultList> faults);

} // namespace Nax::FrontEnd::XMLDB
