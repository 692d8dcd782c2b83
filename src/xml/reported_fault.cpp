// SPDX-License-Identifier: Apache-2.0
#include "xml/reported_fault.h"

#include "support/bstr_text.h"
#include "xml/com_check.h"

namespace Nax::FrontEnd::XMLDB {

SReportedFault ReadFault(IXMLDOMParseError* error) {
    SReportedFault fault;
    _bstr_t reason;
    _bstr_t source;
    NAX_CHECK(error->get_errorCode(&fault.code));
    NAX_CHECK(error->get_reason(reason.GetAddress()));
    NAX_CHECK(error->get_srcText(source.GetAddress()));
    NAX_CHECK(error->get_line(&fault.line));
    fault.reason = ToNarrow(reason);
    fault.source = ToNarrow(source);
    return fault;
}

SReportedFault ReadFirstFault(IXMLDOMDocument2* document) {
    IXMLDOMParseErrorPtr error;
    NAX_CHECK(document->get_parseError(&error));
    return ReadFault(error);
}

} // namespace Nax::FrontEnd::XMLDB
