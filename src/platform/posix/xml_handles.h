// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemas.h>
#include <memory>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

template <auto Function>
struct SFreeWith {
    template <class Object>
    void operator()(Object* object) const noexcept {
        Function(object);
    }
};

struct SFreeXmlText {
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }
};

using TDocHandle = std::unique_ptr<xmlDoc, SFreeWith<xmlFreeDoc>>;
using TParserHandle = std::unique_ptr<xmlParserCtxt, SFreeWith<xmlFreeParserCtxt>>;
using TBufferHandle = std::unique_ptr<xmlBuffer, SFreeWith<xmlBufferFree>>;
using TTextHandle = std::unique_ptr<xmlChar, SFreeXmlText>;
using TSchemaHandle = std::unique_ptr<xmlSchema, SFreeWith<xmlSchemaFree>>;
using TSchemaParserHandle =
    std::unique_ptr<xmlSchemaParserCtxt, SFreeWith<xmlSchemaFreeParserCtxt>>;
using TSchemaValidHandle = std::unique_ptr<xmlSchemaValidCtxt, SFreeWith<xmlSchemaFreeValidCtxt>>;

inline std::string_view ViewOf(const xmlChar* text) {
    return text == nullptr ? std::string_view()
                           : std::string_view(reinterpret_cast<const char*>(text));
}

inline const xmlChar* XmlTextOf(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

} // namespace Nax::FrontEnd::XMLDB
