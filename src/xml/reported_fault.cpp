// SPDX-License-Identifier: Apache-2.0
#include "xml/reported_fault.h"

#include "support/bstr_text.h"
#include "xml/com_check.h"

#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char character) { return character == '\n' || character == '\r'; }, ' ');
    return text;
}

SReportedFault ReadFault(IXMLDOMParseError* error) {
    SReportedFault fault;
    _bstr_t reason;
    _bstr_t source;
    NAX_CHECK(error->get_errorCode(&fault.code));
    NAX_CHECK(error->get_reason(reason.GetAddress()));
    NAX_CHECK(error->get_srcText(source.GetAddress()));
    NAX_CHECK(error->get_line(&fault.line));
    fault.reason = OneLine(ToNarrow(reason));
    fault.source = OneLine(ToNarrow(source));
    return fault;
}

SReportedFault ReadFirstFault(IXMLDOMDocument2* document) {
    IXMLDOMParseErrorPtr error;
    NAX_CHECK(document->get_parseError(&error));
    return ReadFault(error);
}

} // namespace Nax::FrontEnd::XMLDB
