// SPDX-License-Identifier: Apache-2.0
#include "processor/support_plan.h"

#include "platform/files.h"
#include "processor/support_file_name.h"

#include <cerrno>

namespace Nax::FrontEnd::XMLDB {

namespace {

/// A folder's single file, or all its files when `name` is null.
struct SFixedSource {
    const char* folder;
    const char* path;
    const char* name;
};

constexpr std::array kFixedSources = {
    SFixedSource{"NAX_Common", R"(%AppData%\NAX\Common)", nullptr},
    SFixedSource{"LogonServerConfigCache", R"(%AppData%\NAX\LogonServerConfigCache)", nullptr},
    SFixedSource{"Sys_files", "%windir%", "naxmsg.ini"},
    SFixedSource{"Sys_files", "%windir%", "naxroute.ini"},
    SFixedSource{"Sys_files", R"(%windir%\system32\drivers\etc)", "services"},
    SFixedSource{"DEXA_user", R"(%AppData%\NAX\DEXA)", "DexaOptions.xml"},
    SFixedSource{"DEXA_shared", R"(%ProgramData%\NAX\DEXA)", "DexaOptions.xml"},
};

SPlannedFile PlanLandscapeFile(const SSupportLandscapeFile& file) {
    SPlannedFile planned;
    planned.folder = "Landscape_files";
    planned.name = PlainFileName(file.path);
    planned.source = file.source.empty() ? file.path : file.source;
    planned.text = file.text;
    planned.links = LinkRule::Follow;
    return planned;
}

void PlanFolder(const SFixedSource& source, std::vector<SPlannedFile>& plan) {
    SPlannedFile planned;
    planned.folder = source.folder;
    const std::string folder = ExpandPath(source.path);
    const std::vector<SFoundFile> files = FindFiles(folder, "*");
    if (const DWORD code = ::GetLastError(); code != 0 && WhatStandsAt(folder) != NameKind::Free) {
        planned.source = folder;
        planned.problem = SystemMessage(code);
        planned.ofSystem = IsOfSystem(code);
        plan.push_back(planned);
        return;
    }
    for (const SFoundFile& file : files) {
        // Folders are not gone into; all else that is no regular file is told when it is copied.
        planned.source = JoinPath(folder, file.name);
        if (file.regular || WhatStandsAt(planned.source) != NameKind::Folder) {
            planned.name = PlainFileName(file.name);
            plan.push_back(planned);
        }
    }
    if (WhatStandsAt(folder) == NameKind::Free || folder.empty()) {
        planned.name.clear();
        planned.source = folder.empty() ? source.path : folder;
        plan.push_back(planned);
    }
}

} // namespace

bool IsOfSystem(DWORD code) {
    switch (static_cast<int>(code)) {
        case EAGAIN: // no more processes
        case EDQUOT:
        case EFBIG:
        case EIO:
        case EMFILE:
        case ENFILE:
        case ENOMEM:
        case ENOSPC:
        case EROFS:
            return true;
        default:
            return false;
    }
}

std::vector<SPlannedFile> PlanSupportFiles(const SSupportRequest& request) {
    std::vector<SPlannedFile> plan;
    SPlannedFile database;
    database.folder = "Database";
    database.name = "UILandscape.db";
    database.source = request.database;
    database.links = LinkRule::Follow;
    plan.push_back(std::move(database));
    CUniqueFileNames names;
    for (const SSupportLandscapeFile& file : request.files) {
        plan.push_back(PlanLandscapeFile(file));
        if (request.keepEqualNames) {
            plan.back().name = names.Take(plan.back().name);
        }
    }
    for (const SFixedSource& source : kFixedSources) {
        if (source.name == nullptr) {
            PlanFolder(source, plan);
            continue;
        }
        SPlannedFile planned;
        planned.folder = source.folder;
        planned.name = source.name;
        planned.source = JoinPath(ExpandPath(source.path), source.name);
        plan.push_back(std::move(planned));
    }
    return plan;
}

} // namespace Nax::FrontEnd::XMLDB
