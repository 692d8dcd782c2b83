// SPDX-License-Identifier: Apache-2.0
#include "support_sources.h"

#include "file_list.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                    : character;
    });
    return text;
}

} // namespace

std::string CSupportSources::UniqueName(const std::string& path) {
    const fs::path file = fs::path(path).filename();
    std::string name = file.string();
    for (int number = 2; !m_names.insert(LowerCase(name)).second; ++number) {
        name =
            file.stem().string() + " (" + std::to_string(number) + ")" + file.extension().string();
    }
    return name;
}

void CSupportSources::Add(const std::string& path) {
    SSupportLandscapeFile file;
    file.path = UniqueName(path);
    file.source = path;
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
            m_remote.push_back(uri);
        } else {
            Add(uri);
        }
    }
    rows->Close();
    return true;
}

} // namespace LandscapeValidator
