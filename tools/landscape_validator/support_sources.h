// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/support_files.h>

#include <string>
#include <vector>

namespace LandscapeValidator {

/// Whether something else than a file stands in the database's place, for which opening might wait.
bool IsNoFile(const std::string& database);

/// Whether a journal tells that a transaction on the database was cut short, or is going on.
/// Opening such a database writes to it.
bool WasInterrupted(const std::string& database);

/// Brings the output folder's database back to its last whole state. Without its journal a copy
/// would hold half a transaction. Why that failed; empty when it did not.
std::string SettleDatabase();

/// Put into a database while its run is going on, and taken out when all of its rows are there.
inline constexpr char kMarkUnfinished[] = "PRAGMA user_version = 19542";
inline constexpr char kMarkFinished[] = "PRAGMA user_version = 0";

/// The same before a run that makes the database anew and keeps this one as a backup. One that was
/// not finished, since its run failed or was killed, is removed: it would only push out a backup.
std::string SettleBeforeRun(const std::string& database);

/// The landscape files of a support archive.
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
    const std::vector<std::string>& GetMissing() const { return m_missing; }

private:
    std::vector<Nax::FrontEnd::XMLDB::SSupportLandscapeFile> m_files;
    std::vector<std::string> m_missing;
};

} // namespace LandscapeValidator
