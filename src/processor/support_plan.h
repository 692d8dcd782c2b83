// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/support_files.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/folders.h"

namespace Nax::FrontEnd::XMLDB {

inline constexpr char kSupportArchive[] = "LandscapeValidation.zip";

/// The working folders, in the order in which they are filled.
inline constexpr std::array kSupportFolders = {
    "Database",  "Landscape_files", "NAX_Common",  "LogonServerConfigCache",
    "Sys_files", "DEXA_user",       "DEXA_shared", "Registry",
};

inline constexpr char kRegistryFolder[] = "Registry";
inline constexpr char kRegistryFile[] = "NaxLandscapeRegistryConfig.txt";

/// Parameters of "cmd", to which the path of the output file is appended.
inline constexpr std::array kRegistryQueries = {
    R"(/c reg query HKEY_LOCAL_MACHINE\SOFTWARE\NAX\NAXLogon /v LandscapeFormatEnabled >>)",
    R"(/c reg query HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\NAX\NAXLogon /v LandscapeFormatEnabled >>)",
    R"(/c reg query HKEY_CURRENT_USER\Software\NAX\NAXLogon /v LandscapeFormatEnabled >>)",
    R"(/c reg query HKEY_CURRENT_USER\Software\NAX\NAXLogon /v LandscapeMigrationState >>)",
    R"(/c reg query HKEY_LOCAL_MACHINE\SOFTWARE\NAX\NAXLogon\Options /v LandscapeFileOnServer >>)",
    R"(/c reg query HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\NAX\NAXLogon\Options /v LandscapeFileOnServer >>)",
    R"(/c reg query HKEY_CURRENT_USER\Software\NAX\NAXLogon\Options /v LandscapeFileOnServer >>)",
    R"(/c reg query HKEY_LOCAL_MACHINE\SOFTWARE\NAX\NAXLogon\Options /v CoreLandscapeFileOnServer >>)",
    R"(/c reg query HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\NAX\NAXLogon\Options /v CoreLandscapeFileOnServer >>)",
    R"(/c reg query HKEY_CURRENT_USER\Software\NAX\NAXLogon\Options /v CoreLandscapeFileOnServer >>)",
};

/// One file that goes into a working folder.
struct SPlannedFile {
    const char* folder = nullptr;    ///< one of kSupportFolders
    std::string name;                ///< in that folder; empty when the whole source is missing
    std::string source;              ///< path that is copied, or what the text belongs to
    std::optional<std::string> text; ///< the content, when nothing is copied
    std::string problem;             ///< why a whole folder cannot be read
    bool ofSystem = false;           ///< whether that is the system's fault, not the folder's
    LinkRule links = LinkRule::Refuse;
};

/// True for what is no property of the file or program in question.
bool IsOfSystem(DWORD code);

/// The files of all folders but the registry's, as they stand now.
std::vector<SPlannedFile> PlanSupportFiles(const SSupportRequest& request);

} // namespace Nax::FrontEnd::XMLDB
