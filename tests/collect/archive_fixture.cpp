// SPDX-License-Identifier: Apache-2.0
#include "archive_fixture.h"

#include <cstdlib>
#include <filesystem>

namespace Nax::FrontEnd::XMLDB::Testing {

namespace fs = std::filesystem;

CArchiveTest::CArchiveTest() {
    fs::create_directories(In(""));
}

void CArchiveTest::Write(const std::string& name, const std::string& text) const {
    fs::create_directories(fs::path(m_folder.File(name)).parent_path());
    m_folder.Write(name, text);
}

std::set<std::string> CArchiveTest::Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(In(""))) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

SSupportRequest CArchiveTest::Request() const {
    SSupportRequest request;
    request.folder = In("");
    request.database = DatabaseFile();
    return request;
}

std::map<std::string, std::string> CArchiveTest::Unpack() const {
    const fs::path folder = m_folder.File("unpacked");
    fs::remove_all(folder);
    const std::string command = "7z x -y -bd -bso0 -pnax '-o" + folder.string() + "' '" +
                                In("LandscapeValidation.zip") + "' </dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::map<std::string, std::string> content;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = fs::relative(entry.path(), folder).string();
        if (entry.is_directory()) {
            content[name + '/'] = "";
        } else {
            content[name] = ReadAll(entry.path().string());
        }
    }
    return content;
}

std::map<std::string, std::string> CArchiveTest::Unpack(const std::string& folder) const {
    std::map<std::string, std::string> files;
    for (const auto& [name, text] : Unpack()) {
        if (name.starts_with(folder + '/') && !name.ends_with('/')) {
            files[name.substr(folder.size() + 1)] = text;
        }
    }
    return files;
}

} // namespace Nax::FrontEnd::XMLDB::Testing
