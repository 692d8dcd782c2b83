// SPDX-License-Identifier: Apache-2.0
#include "support_sources.h"

#include "include_resolver.h"
#include "input_files.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <filesystem>
#include <sstream>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

bool WasInterrupted(const std::string& database) {
    std::error_code error;
    const auto size = fs::file_size(database + "-journal", error);
    return !error && size > 0;
}

void SettleDatabase() {
    CDBProcessor processor(true, Normal, _bstr_t(), _bstr_t());
    std::shared_ptr<IRecordset> rows;
    // Reading rolls the journal back.
    if (processor.Process(openDB, std::wstringstream()) &&
        processor.DB_ExecuteQuery("SELECT name FROM sqlite_master", rows)) {
        rows->Close();
    }
}

void SettleBeforeRun(const std::string& database) {
    if (WasInterrupted(database)) {
        SettleDatabase();
    }
    std::error_code error;
    if (fs::is_regular_file(database, error) && fs::file_size(database, error) == 0) {
        fs::remove(database, error);
    }
}

void CSupportSources::Add(const std::string& path) {
    SSupportLandscapeFile file;
    file.path = path;
    m_files.push_back(std::move(file));
}

bool CSupportSources::AddFilesOfLastRun(const std::string& database, std::string& reason) {
    std::error_code error;
    // Asked first: opening would make an empty database.
    if (!fs::exists(database, error)) {
        reason = "there is no '" + database +
                 "' to collect from; validate into that folder first, or name the files";
        return false;
    }
    CDBProcessor processor(true, Normal, _bstr_t(), _bstr_t());
    std::shared_ptr<IRecordset> rows;
    if (!processor.Process(openDB, std::wstringstream()) ||
        !processor.DB_ExecuteQuery("SELECT uri FROM Files WHERE CAST(indx AS INTEGER) >= 0 "
                                   "ORDER BY CAST(indx AS INTEGER)",
                                   rows)) {
        reason = "'" + database + "' does not tell the files of the last run; name the files:" +
                 processor.GetLastDBError();
        return false;
    }
    while (rows->MoveNext()) {
        const std::string uri = rows->GetString(0).GetString();
        if (IsRemoteUrl(uri)) {
            m_missing.push_back(uri + ", which is never fetched");
        } else if (uri == kStandardInput) {
            m_missing.push_back("standard input, which validate --collect takes along");
        } else {
            Add(uri);
        }
    }
    rows->Close();
    return true;
}

} // namespace LandscapeValidator
