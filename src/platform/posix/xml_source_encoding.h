// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// As much of a text as is looked at to find its encoding.
constexpr std::size_t XmlHeadSize = 1024;

/// How an XML text is encoded, as its first bytes tell.
struct SXmlEncoding {
    std::string name; ///< to convert from; empty for UTF-8 and what only a parser can judge
    std::size_t markLength = 0; ///< length of the byte-order mark
    /// Why a text in this encoding cannot be what its XML declaration says; empty when it can.
    std::string contradiction;
};

/// A mark, or a pattern of zero bytes, decides what the encoding is. The declaration is compared
/// by the number and the order of the bytes of a character: a text with the mark of UTF-8 may
/// declare another encoding of single bytes, and is read as UTF-8.
SXmlEncoding DetectEncoding(std::string_view head);

/// Data of the XML declaration at the start of `head`; empty when there is none.
std::string_view XmlDeclarationIn(std::string_view head);

} // namespace Nax::FrontEnd::XMLDB
