// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/support_files.h>

#include <string>

#include "platform/basic_types.h"
#include "processor/support_plan.h"

namespace Nax::FrontEnd::XMLDB {

/// One collection, step by step. One use, one thread; the request must outlive it. A step that
/// fails is told in the report and does not stop the next one.
class CSupportCollector {
public:
    static constexpr DWORD kQueryLimit = 10000;

    /// Each registry query is given up after `queryLimit` milliseconds.
    explicit CSupportCollector(const SSupportRequest& request, DWORD queryLimit = kQueryLimit);

    SSupportReport Collect();
    SSupportReport List();

private:
    bool IsReady();
    bool FindTakenNames();
    void MakeFolders();
    void CopyFiles();
    void CopyFile(const SPlannedFile& planned);
    void RunQueries();
    void RunQuery(const std::string& query, const std::string& output);
    void WarnOfQuery(const std::string& query, const std::string& reason);
    void WriteZip();
    void RemoveOldArchives();
    void RemoveWorkingFolders();
    void AddToReport(const SPlannedFile& planned, const SFileCheck& check);
    bool IsCancelled() const;
    std::string InFolder(const std::string& name) const;
    std::string InWorkFolder(const std::string& name) const;
    bool IsOurs(const std::string& folder) const;

    const SSupportRequest& m_request;
    const DWORD m_queryLimit;
    std::vector<std::string> m_folders; ///< working folders that were made
    SSupportReport m_report;
};

} // namespace Nax::FrontEnd::XMLDB
