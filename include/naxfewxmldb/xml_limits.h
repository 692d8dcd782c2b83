// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <cstdint>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// How large the parts of an XML document may be. A document beyond one of them is refused like one
/// that is not well-formed: one fault, with its line, that names the limit. The defaults are far
/// beyond real landscapes, and keep time and memory of hostile ones bounded.
struct NAXFEWXMLDB_EXPORT SXmlLimits {
    /// Elements inside one another.
    std::uint64_t depth = 100'000;
    /// Attributes of one element, and namespaces declared at one place.
    std::uint64_t attributes = 1'000;
    /// Bytes of one start tag with its attributes.
    std::uint64_t tagSize = 10'000'000;
    /// Bytes of text between two tags, of one comment, of one processing instruction.
    std::uint64_t textSize = 10'000'000;
    /// Bytes of the document type declaration.
    std::uint64_t doctypeSize = 100'000;
    /// Different names of elements, attributes and the like.
    std::uint64_t names = 20'000;
    /// Bytes of a document, after its conversion to UTF-8.
    std::uint64_t fileSize = 16'000'000'000;
    /// How a user raises a limit, for messages: "%s" stands for its name, such as "tag-size". Empty
    /// when he cannot.
    std::string advice{};
};

/// Sets the limits of all documents that this process loads from now on, landscapes, rules, schemas
/// and stylesheets alike. Documents that are loaded as a tree, as schemas and the library's own are,
/// are never under smaller limits than by default. May be called from any thread; a load that is going on keeps the limits
/// with which it began.
NAXFEWXMLDB_EXPORT void SetXmlLimits(const SXmlLimits& limits);
NAXFEWXMLDB_EXPORT SXmlLimits GetXmlLimits();

} // namespace Nax::FrontEnd::XMLDB
