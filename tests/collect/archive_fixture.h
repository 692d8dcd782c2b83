// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/support_files.h>

#include <map>
#include <set>
#include <string>

#include "processor_fixture.h"

namespace Nax::FrontEnd::XMLDB::Testing {

/// A machine of its own (configuration, system files, registry file) and a collection folder, whose
/// name has a blank.
class CArchiveTest : public CProcessorTest {
protected:
    CArchiveTest();

    void Write(const std::string& name, const std::string& text) const;
    std::string In(const std::string& name) const { return m_folder.File("collect here/" + name); }
    /// Names in the collection folder.
    std::set<std::string> Names() const;
    SSupportRequest Request() const;

    /// What another program unpacks: folders end with "/" and are empty.
    std::map<std::string, std::string> Unpack() const;
    /// The files of one folder of the archive.
    std::map<std::string, std::string> Unpack(const std::string& folder) const;

private:
    CEnvironmentValue m_windows{"NAXFEWXMLDB_WINDIR", m_folder.File("win").c_str()};
    CEnvironmentValue m_programs{"NAXFEWXMLDB_PROGRAMDATA", m_folder.File("data").c_str()};
    CEnvironmentValue m_registry{"NAXFEWXMLDB_REG", nullptr};
};

} // namespace Nax::FrontEnd::XMLDB::Testing
