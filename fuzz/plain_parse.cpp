// SPDX-License-Identifier: Apache-2.0
#include "plain_parse.h"

#include "fuzz_support.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <memory>

namespace Fuzzing {

namespace {

template <auto Free>
struct SFree {
    template <class Object>
    void operator()(Object* object) const {
        Free(object);
    }
};

using Document = std::unique_ptr<xmlDoc, SFree<xmlFreeDoc>>;
using Schema = std::unique_ptr<xmlSchema, SFree<xmlSchemaFree>>;

void Ignore(void* /*context*/, const char* /*message*/, ...) {}

xmlParserInputPtr Refuse(const char* /*url*/, const char* /*id*/, xmlParserCtxtPtr /*parser*/) {
    return nullptr;
}

/// While it lives, the library says nothing and opens no files.
class CQuietLibrary {
public:
    CQuietLibrary() : m_loader(xmlGetExternalEntityLoader()) {
        xmlSetExternalEntityLoader(Refuse);
        xmlSetGenericErrorFunc(nullptr, Ignore);
    }
    CQuietLibrary(const CQuietLibrary&) = delete;
    CQuietLibrary& operator=(const CQuietLibrary&) = delete;
    ~CQuietLibrary() {
        xmlSetGenericErrorFunc(nullptr, nullptr);
        xmlSetExternalEntityLoader(m_loader);
    }

private:
    xmlExternalEntityLoader m_loader;
};

Schema ReadSchema() {
    std::string text = ReadFile(RESOURCES_DIR "/landscape.xsd");
    constexpr std::string_view kImported = "http://www.w3.org/2001/xml.xsd";
    text.replace(text.find(kImported), kImported.size(), RESOURCES_DIR "/xml_namespace.xsd");
    const std::unique_ptr<xmlSchemaParserCtxt, SFree<xmlSchemaFreeParserCtxt>> parser(
        xmlSchemaNewMemParserCtxt(text.data(), static_cast<int>(text.size())));
    Schema schema(xmlSchemaParse(parser.get()));
    Require(schema != nullptr, "the schema can be used");
    return schema;
}

} // namespace

PlainResult ParsePlainly(std::string_view text) {
    static const Schema schema = ReadSchema();
    const CQuietLibrary quiet;
    // Any parser gives an element the values that the document's own type presets.
    const Document document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NOERROR |
                          XML_PARSE_NOWARNING | XML_PARSE_COMPACT));
    if (document == nullptr) {
        return PlainResult::IllFormed;
    }
    const std::unique_ptr<xmlSchemaValidCtxt, SFree<xmlSchemaFreeValidCtxt>> context(
        xmlSchemaNewValidCtxt(schema.get()));
    xmlSchemaSetValidErrors(context.get(), Ignore, Ignore, nullptr);
    return xmlSchemaValidateDoc(context.get(), document.get()) == 0 ? PlainResult::Valid
                                                                    : PlainResult::Invalid;
}

} // namespace Fuzzing
