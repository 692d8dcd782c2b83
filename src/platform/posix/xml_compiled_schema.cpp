// SPDX-License-Identifier: Apache-2.0
#include "xml_compiled_schema.h"

#include "xml_com_object.h"
#include "xml_loader.h"
#include "xml_tree.h"

#include <list>
#include <mutex>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t CacheSize = 8;

/// Keeps the first message of a compilation.
class CFirstError : public IXmlErrorReceiver {
public:
    void OnXmlError(const xmlError& error) noexcept override {
        if (error.level < XML_ERR_ERROR || !m_text.empty()) {
            return;
        }
        try {
            m_text = error.message == nullptr ? "unknown error" : error.message;
            while (!m_text.empty() && m_text.back() == '\n') {
                m_text.pop_back();
            }
            if (error.line > 0) {
                m_text += " (line " + std::to_string(error.line) + ")";
            }
        } catch (const std::exception&) {
            m_text.clear();
        }
    }
    const std::string& Text() const noexcept { return m_text; }

private:
    std::string m_text;
};

struct SCached {
    std::string url;
    std::string text;
    std::shared_ptr<const CXmlCompiledSchema> schema;
};

struct SCache {
    std::mutex mutex;
    std::list<SCached> entries; ///< the last used first
};

SCache& Cache() {
    static SCache cache;
    return cache;
}

std::string FailureText(const CFirstError& errors, const CXmlLibraryGuard& guard) {
    std::string text = "The schema cannot be used: " +
                       (errors.Text().empty() ? "it is not a schema." : errors.Text());
    for (const std::string& load : guard.FailedLoads()) {
        text += "\n" + load;
    }
    return text;
}

} // namespace

CXmlCompiledSchema::CXmlCompiledSchema(TDocHandle document, TSchemaHandle schema)
    : m_document(std::move(document)), m_schema(std::move(schema)), m_outline(m_document.get()) {}

std::shared_ptr<const CXmlCompiledSchema> CXmlCompiledSchema::Compile(const std::string& text,
                                                                      const std::string& url) {
    SCache& cache = Cache();
    // Compiling under the lock lets a second thread with the same schema wait for the first one.
    const std::lock_guard lock(cache.mutex);
    for (auto entry = cache.entries.begin(); entry != cache.entries.end(); ++entry) {
        if (entry->url == url && entry->text == text) {
            cache.entries.splice(cache.entries.begin(), cache.entries, entry);
            return entry->schema;
        }
    }
    TDocHandle document = ParsePlain(text, url);
    CFirstError errors;
    CXmlLibraryGuard guard(EXmlLoading::Definitions, &errors);
    guard.CountTags(text);
    const TSchemaParserHandle parser(xmlSchemaNewDocParserCtxt(document.get()));
    TSchemaHandle schema(parser == nullptr ? nullptr : xmlSchemaParse(parser.get()));
    if (schema == nullptr) {
        throw CXmlFailure(FailureText(errors, guard));
    }
    std::shared_ptr<const CXmlCompiledSchema> compiled(
        new CXmlCompiledSchema(std::move(document), std::move(schema)));
    if (!guard.HasLoadedFiles()) {
        cache.entries.push_front({url, text, compiled});
        if (cache.entries.size() > CacheSize) {
            cache.entries.pop_back();
        }
    }
    return compiled;
}

TSchemaValidHandle CXmlCompiledSchema::NewContext() const {
    TSchemaValidHandle context(xmlSchemaNewValidCtxt(m_schema.get()));
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    return context;
}

} // namespace Nax::FrontEnd::XMLDB
