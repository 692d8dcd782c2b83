// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/database.h>

#include <memory>
#include <string>
#include <string_view>

namespace LandscapeValidator {

/// Removes all but the newest `keep` files named by `pattern` from `folder` and returns their
/// number. In the pattern each "#" stands for a digit, in the order day, month, year (four
/// digits), hour, minute, second: a file's age is the date in its name.
int RemoveOldFiles(const std::string& folder, std::string_view pattern, int keep);

/// The same for backups of the database, as the library names them.
int RemoveOldBackups(const std::string& folder, int keep);

/// Makes way for a new database: an earlier one becomes a backup under the name of this second, or
/// of the next that is free, and is itself at every moment under the one name or the other. A link
/// is left to the library. False, with the reason, when it cannot be kept.
bool MoveDatabaseAside(const std::string& database, std::string& reason);

/// Keeps connections of others to an earlier database from rolling it back to a journal of the new
/// one. They still know the file by its former name, find that journal beside it, and take it for
/// what a crash has left, unless somebody holds a lock on the earlier file. So that is taken, for
/// as long as the new database is written. What cannot be locked, because somebody works on it or
/// it is no database, is left alone.
class CEarlierDatabase {
public:
    /// Opens the file, if there is one; to be called before it is moved.
    explicit CEarlierDatabase(const std::string& database);
    CEarlierDatabase(const CEarlierDatabase&) = delete;
    CEarlierDatabase& operator=(const CEarlierDatabase&) = delete;
    /// Lets go of it; not before the new one is closed.
    ~CEarlierDatabase();
    /// To be called once it is moved or removed: nobody in this process may open it then.
    void Lock();

private:
    std::shared_ptr<Nax::FrontEnd::XMLDB::IDatabase> m_database;
};

} // namespace LandscapeValidator
