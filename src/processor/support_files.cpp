// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/support_files.h>

#include "processor/support_collector.h"
#include "support/bstr_text.h"
#include "support/text_conversion.h"

namespace Nax::FrontEnd::XMLDB {

SSupportReport CollectSupportFiles(const SSupportRequest& request) {
    return CSupportCollector(request).Collect();
}

SSupportReport ListSupportFiles(const SSupportRequest& request) {
    return CSupportCollector(request).List();
}

bool CDBProcessor::CollectSupportFiles(const std::shared_ptr<CDBProcessor>& processor,
                                       const _bstr_t& folder,
                                       const std::vector<std::pair<_bstr_t, _bstr_t>>& files) {
    SSupportRequest request;
    request.folder = ToNarrow(folder);
    request.database = processor == nullptr ? m_dbName : processor->GetDatabaseFileName();
    for (const auto& [path, text] : files) {
        // By length: a text may hold zero characters.
        const wchar_t* wide = text;
        const std::wstring_view content =
            wide == nullptr ? std::wstring_view() : std::wstring_view(wide, text.length());
        request.files.push_back({ToNarrow(path), ToUtf8(content), {}});
    }
    return XMLDB::CollectSupportFiles(request).failure.empty();
}

} // namespace Nax::FrontEnd::XMLDB
