// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "work_folder.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// How often each status of the report page occurs in one of its lists.
using StatusCounts = std::map<std::string, std::size_t>;

/// What the page's two lists show, read with the page's own queries.
struct SPageCounts {
    StatusCounts files;
    StatusCounts rules;
};

/// The report of a finished rule run: the page with its companions, the rules' documentation and
/// the XML summary, and on demand the JSON files.
///
/// It is written into the work folder and moved into the output folder when all of it is there, so
/// that a failure on the way leaves an earlier report as it was. The message of the first step that
/// failed stays.
class CReport {
public:
    CReport(Nax::FrontEnd::XMLDB::CDBProcessor& processor,
            Nax::FrontEnd::XMLDB::CRulesProcessor& rules, const CWorkFolder& folder);

    /// Writes it into the work folder, each step whatever the others' results.
    bool Write(bool withJson);
    /// Moves the report into the output folder. The files of earlier runs that are called like the
    /// JSON files or like `others` and that this one does not have are removed: they would tell of
    /// another landscape than the page beside them. False when any step so far has failed.
    bool Publish(const std::vector<std::string>& others);
    const std::string& GetFailure() const { return m_failure; }
    SPageCounts ReadPageCounts() const;

    static std::string PagePath(const std::string& outputFolder);

private:
    bool HasJsonFiles() const;
    bool IsPageComplete();
    bool WriteRulesPage();
    bool Check(bool done, const std::string& what);
    StatusCounts CountStatuses(const std::string& exportName) const;

    Nax::FrontEnd::XMLDB::CDBProcessor& m_processor;
    Nax::FrontEnd::XMLDB::CRulesProcessor& m_rules;
    const CWorkFolder& m_work;
    std::string m_folder;
    std::string m_failure;
};

/// Removes all but the newest `keep` of the XML summaries that earlier runs left in `folder`.
int RemoveOldSummaries(const std::string& folder, int keep);

} // namespace LandscapeValidator
