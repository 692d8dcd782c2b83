// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <span>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// One attribute as the parser delivers it: value normalised, references resolved, UTF-8.
struct SXmlAttribute {
    std::string_view name; ///< qualified name as written, such as "xml:space"
    std::string_view value;
};

/// Receives a document's elements in document order while it is parsed (and, where asked for,
/// validated in the same pass).
///
/// Views are valid during the call only. Called on the thread that started the parse. When the
/// document turns out not to be well-formed the calls stop; what was delivered before the fault
/// is the receiver's to drop. An implementation must not throw.
class NAXFEWXMLDB_EXPORT IXmlElementSink {
public:
    virtual ~IXmlElementSink() = default;

    /// `line` counts from 1 and is the line on which the element's tag begins.
    virtual void StartElement(std::string_view name, std::span<const SXmlAttribute> attributes,
                              long line) = 0;
    virtual void EndElement(std::string_view name) = 0;
    /// Text and character data of the innermost open element; may come in several pieces.
    virtual void Characters(std::string_view text) = 0;
};

} // namespace Nax::FrontEnd::XMLDB
