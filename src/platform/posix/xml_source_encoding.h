// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// How an XML text is encoded, as its first bytes tell.
struct SXmlEncoding {
    std::string name; ///< to convert from; empty for UTF-8 and what only a parser can judge
    std::size_t markLength = 0; ///< length of the byte-order mark
};

SXmlEncoding DetectEncoding(std::string_view head);

/// Data of the XML declaration at the start of `head`; empty when there is none.
std::string_view XmlDeclarationIn(std::string_view head);

} // namespace Nax::FrontEnd::XMLDB
