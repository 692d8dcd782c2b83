// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/naxfewxmldb.h>

#include <cstddef>
#include <map>
#include <string>

namespace LandscapeValidator {

/// How often each status of the report page occurs in one of its lists.
using StatusCounts = std::map<std::string, std::size_t>;

/// What the page's two lists show, read with the page's own queries.
struct SPageCounts {
    StatusCounts files;
    StatusCounts rules;
};

/// Writes the report of a finished rule run into a folder: the page with its companions, the
/// rules' documentation and the XML summary, and on demand the JSON files.
///
/// Each step is taken whatever the others' results; the message of the first that failed stays.
class CReport {
public:
    CReport(Nax::FrontEnd::XMLDB::CDBProcessor& processor,
            Nax::FrontEnd::XMLDB::CRulesProcessor& rules, std::string folder);

    bool Write(bool withJson);
    const std::string& GetFailure() const { return m_failure; }
    std::string GetPagePath() const;
    SPageCounts ReadPageCounts() const;

private:
    void RemoveJsonFiles() const;
    bool HasJsonFiles() const;
    bool IsPageComplete() const;
    bool WriteRulesPage();
    bool Check(bool done, const std::string& what);
    StatusCounts CountStatuses(const std::string& exportName) const;

    Nax::FrontEnd::XMLDB::CDBProcessor& m_processor;
    Nax::FrontEnd::XMLDB::CRulesProcessor& m_rules;
    std::string m_folder;
    std::string m_failure;
};

/// Removes all but the newest `keep` of the XML summaries that earlier runs left in `folder`.
int RemoveOldSummaries(const std::string& folder, int keep);

} // namespace LandscapeValidator
