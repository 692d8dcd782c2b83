// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/platform/xml_dom.h>

#include <string>

namespace Nax::FrontEnd::XMLDB {

/// A fault as the messages tell it. Without a fault everything is empty or 0.
struct SReportedFault {
    long code = 0;
    std::string reason;
    std::string source;
    long line = 0;
};

/// `text` with blanks for line ends. The lines of a validation message are its structure: a value
/// from a file must not be able to write a line of its own.
std::string OneLine(std::string text);

/// Reads one fault object. Raises `_com_error`.
SReportedFault ReadFault(IXMLDOMParseError* error);
/// Reads the document's first fault. Raises `_com_error`.
SReportedFault ReadFirstFault(IXMLDOMDocument2* document);

} // namespace Nax::FrontEnd::XMLDB
