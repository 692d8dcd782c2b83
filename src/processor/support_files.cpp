// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/support_files.h>

#include "processor/support_collector.h"
#include "support/bstr_text.h"
#include "support/text_conversion.h"
#include "support/within_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

SSupportReport ReportOfMemory() {
    FailWithoutMemory();
    SSupportReport report;
    // Short enough to need no memory.
    report.failure = "out of memory";
    return report;
}

} // namespace

SSupportReport CollectSupportFiles(const SSupportRequest& request) try {
    return CSupportCollector(request).Collect();
} catch (...) {
    return ReportOfMemory();
}

SSupportReport ListSupportFiles(const SSupportRequest& request) try {
    return CSupportCollector(request).List();
} catch (...) {
    return ReportOfMemory();
}

bool CDBProcessor::CollectSupportFiles(const std::shared_ptr<CDBProcessor>& processor,
                                       const _bstr_t& folder,
                                       const std::vector<std::pair<_bstr_t, _bstr_t>>& files) try {
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
} catch (...) {
    return FailWithoutMemory();
}

} // namespace Nax::FrontEnd::XMLDB
