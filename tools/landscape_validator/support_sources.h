// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/support_files.h>

#include <set>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// The landscape files of a support archive, each under a name of its own: a second
/// "landscape.xml" becomes "landscape (2).xml". Letter case makes no difference, since it makes
/// none where archives are usually unpacked.
class CSupportSources {
public:
    void Add(const std::string& path);
    /// Adds the local files that the database of the last run lists. False with the reason when the
    /// database is not there or does not tell them.
    bool AddFilesOfLastRun(const std::string& database, std::string& reason);

    const std::vector<Nax::FrontEnd::XMLDB::SSupportLandscapeFile>& GetFiles() const {
        return m_files;
    }
    /// URLs of the last run that are no local files.
    const std::vector<std::string>& GetRemote() const { return m_remote; }

private:
    std::string UniqueName(const std::string& path);

    std::vector<Nax::FrontEnd::XMLDB::SSupportLandscapeFile> m_files;
    std::vector<std::string> m_remote;
    std::set<std::string> m_names; ///< in lower case
};

} // namespace LandscapeValidator
