// SPDX-License-Identifier: Apache-2.0
#include "platform/xml_stream.h"

#include <libxml/xmlerror.h>

namespace Nax::FrontEnd::XMLDB {

bool IsSchemaFault(long errorCode) noexcept {
    return errorCode >= XML_SCHEMAV_NOROOT && errorCode <= XML_SCHEMAV_MISC;
}

bool IsReadingFault(long errorCode) noexcept {
    return errorCode == XML_IO_LOAD_ERROR || errorCode == XML_IO_UNKNOWN;
}

} // namespace Nax::FrontEnd::XMLDB
