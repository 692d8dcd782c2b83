// SPDX-License-Identifier: Apache-2.0
#include "support_sources.h"

#include "include_resolver.h"
#include "input_files.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

// The beginning of a database file, and in it the user's version, biggest byte first.
constexpr std::size_t kHeaderSize = 100;
constexpr std::string_view kMagic = "SQLite format 3";
constexpr std::size_t kVersionAt = 60;
constexpr std::string_view kUnfinished("\0\0\x4c\x56", 4);

// Another program's transaction is waited for, so many milliseconds.
constexpr char kWaitForOthers[] = "PRAGMA busy_timeout = 10000";

bool Open(CDBProcessor& processor) {
    return processor.Process(openDB, std::wstringstream()) &&
           processor.DB_ExecuteQuery(kWaitForOthers);
}

/// Empty or marked. Read as bytes: the database is opened in no other way by a run that follows.
bool IsUnfinished(const std::string& database) {
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(database, error))) {
        return false;
    }
    std::array<char, kHeaderSize> header{};
    std::ifstream file(database, std::ios::binary);
    if (!file.read(header.data(), header.size())) {
        return file.eof() && file.gcount() == 0;
    }
    const std::string_view text(header.data(), header.size());
    return text.starts_with(kMagic) && text.substr(kVersionAt, 4) == kUnfinished;
}

} // namespace

bool IsNoFile(const std::string& database) {
    std::error_code error;
    const fs::file_status status = fs::status(database, error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

bool WasInterrupted(const std::string& database) {
    std::error_code error;
    const auto size = fs::file_size(database + "-journal", error);
    return error ? error != std::errc::no_such_file_or_directory : size > 0;
}

std::string SettleDatabase() {
    CDBProcessor processor(true, Normal, _bstr_t(), _bstr_t());
    std::shared_ptr<IRecordset> rows;
    // Reading rolls the journal back.
    if (!Open(processor) || !processor.DB_ExecuteQuery("SELECT name FROM sqlite_master", rows)) {
        return processor.GetLastDBError();
    }
    rows->MoveNext();
    rows->Close();
    return processor.GetStorageFailure();
}

std::string SettleBeforeRun(const std::string& database) {
    if (WasInterrupted(database)) {
        std::string failure = SettleDatabase();
        if (WasInterrupted(database) && !failure.empty()) {
            return failure;
        }
    }
    std::error_code error;
    if (IsUnfinished(database) && !fs::remove(database, error)) {
        return error.message();
    }
    return {};
}

void CSupportSources::Add(const std::string& path) {
    SSupportLandscapeFile file;
    file.path = path;
    m_files.push_back(std::move(file));
}

bool CSupportSources::AddFilesOfLastRun(const std::string& database, std::string& reason) {
    std::error_code error;
    // Asked first: opening would make an empty database.
    const fs::file_status status = fs::status(database, error);
    if (status.type() == fs::file_type::none) {
        reason = "'" + database + "' cannot be read: " + error.message();
        return false;
    }
    if (!fs::exists(status)) {
        reason = "there is no '" + database +
                 "' to collect from; validate into that folder first, or name the files";
        return false;
    }
    CDBProcessor processor(true, Normal, _bstr_t(), _bstr_t());
    std::shared_ptr<IRecordset> rows;
    if (!Open(processor) ||
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
    if (const std::string failure = processor.GetStorageFailure(); !failure.empty()) {
        reason = "'" + database + "' cannot be read: " + failure;
        return false;
    }
    return true;
}

} // namespace LandscapeValidator
