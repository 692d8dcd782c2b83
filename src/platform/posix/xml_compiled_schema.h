// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_handles.h"
#include "xml_schema_outline.h"

#include <memory>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// A schema ready for use. Nothing in it changes during validation, so any number of threads may
/// validate against one object.
class CXmlCompiledSchema {
public:
    /// `text` is the schema as UTF-8, `url` where it came from (may be empty). Throws CXmlFailure
    /// that says what is wrong with the schema.
    ///
    /// Schemas that stand alone are compiled once for the process: the last few stay in a cache
    /// that is keyed by text and place. Those that include local files are not kept, since the
    /// files may change.
    static std::shared_ptr<const CXmlCompiledSchema> Compile(const std::string& text,
                                                             const std::string& url);

    /// A new validation context.
    TSchemaValidHandle NewContext() const;
    const CSchemaOutline& Outline() const noexcept { return m_outline; }

private:
    CXmlCompiledSchema(TDocHandle document, TSchemaHandle schema);

    TDocHandle m_document; ///< the schema refers to its texts
    TSchemaHandle m_schema;
    CSchemaOutline m_outline;
};

} // namespace Nax::FrontEnd::XMLDB
