// SPDX-License-Identifier: Apache-2.0
#include "processor/support_collector.h"

#include "platform/archive.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/shell.h"
#include "support/file_utils.h"
#include "support/trace.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CSupportCollector";
// Keeps mail filters from opening the archive; everybody may know it, so it protects nothing.
constexpr char kKey[] = "nax";
constexpr char kCancelled[] = "The collection was cancelled";
constexpr std::time_t kOldestArchive = std::time_t{30} * 24 * 60 * 60;
constexpr DWORD kWaitStep = 100;

/// The command interpreter takes a path with blanks in quotes only.
std::string Quoted(const std::string& path) {
    return path.find(' ') == std::string::npos ? path : '"' + path + '"';
}

SPlannedFile PlanRegistryFile() {
    SPlannedFile planned;
    planned.folder = kRegistryFolder;
    planned.name = kRegistryFile;
    planned.source = "the registry, " + std::to_string(kRegistryQueries.size()) + " queries";
    return planned;
}

} // namespace

CSupportCollector::CSupportCollector(const SSupportRequest& request, DWORD queryLimit)
    : m_request(request), m_queryLimit(queryLimit) {
    m_report.archive = InFolder(kSupportArchive);
}

SSupportReport CSupportCollector::Collect() {
    if (!IsReady()) {
        NAX_TRACE_ERROR(kClass, "No support archive: %s\n", m_report.failure.c_str());
        return std::move(m_report);
    }
    MakeFolders();
    CopyFiles();
    RunQueries();
    if (IsCancelled()) {
        m_report.failure = kCancelled;
    } else {
        WriteZip();
    }
    if (m_report.failure != kCancelled) {
        RemoveOldArchives();
    }
    RemoveWorkingFolders();
    DeleteFileA(InFolder("output.log").c_str());
    NAX_TRACE(kClass, "Support archive '%s': %s\n", m_report.archive.c_str(),
              m_report.failure.empty() ? "made" : m_report.failure.c_str());
    return std::move(m_report);
}

SSupportReport CSupportCollector::List() {
    FindTakenNames();
    for (const SPlannedFile& planned : PlanSupportFiles(m_request)) {
        SFileCheck check;
        if (!planned.problem.empty()) {
            check.problem = planned.problem;
            m_report.incomplete = m_report.incomplete || planned.ofSystem;
        } else if (planned.text.has_value()) {
            check.size = planned.text->size();
        } else {
            check = CheckRegularFile(planned.source, planned.links);
        }
        AddToReport(planned, check);
    }
    AddToReport(PlanRegistryFile(), {});
    return std::move(m_report);
}

bool CSupportCollector::IsReady() {
    if (m_request.folder.empty() || WhatStandsAt(InFolder(".")) != NameKind::Folder) {
        m_report.failure = "There is no folder '" + m_request.folder + "'";
        return false;
    }
    return !FindTakenNames();
}

bool CSupportCollector::FindTakenNames() {
    std::string names;
    for (const char* name : kSupportFolders) {
        if (m_request.keepExistingFolders && WhatStandsAt(InWorkFolder(name)) != NameKind::Free) {
            names += (names.empty() ? "'" : ", '") + InWorkFolder(name) + '\'';
        }
    }
    if (!names.empty()) {
        m_report.failure =
            "The collection needs names for its working folders that are taken: " + names +
            ". Move or remove what is there first";
    }
    return !names.empty();
}

void CSupportCollector::MakeFolders() {
    for (const char* name : kSupportFolders) {
        const std::string path = InWorkFolder(name);
        // What an earlier collection has left must not get into this one.
        RemoveFolder(path);
        if (CreatePrivateFolder(path)) {
            m_folders.emplace_back(name);
        } else {
            m_report.incomplete = true;
            m_report.warnings.push_back("cannot make the folder '" + path +
                                        "': " + SystemMessage(::GetLastError()));
        }
    }
}

void CSupportCollector::CopyFiles() {
    for (const SPlannedFile& planned : PlanSupportFiles(m_request)) {
        if (IsCancelled()) {
            return;
        }
        if (IsOurs(planned.folder)) {
            CopyFile(planned);
        }
    }
}

void CSupportCollector::CopyFile(const SPlannedFile& planned) {
    SFileCheck check;
    if (!planned.problem.empty()) {
        check.problem = planned.problem;
        m_report.incomplete = m_report.incomplete || planned.ofSystem;
        AddToReport(planned, check);
        return;
    }
    if (planned.name.empty()) {
        check = CheckRegularFile(planned.source, planned.links);
    } else {
        const std::string target = InWorkFolder(std::string(planned.folder) + '/' + planned.name);
        if (!planned.text.has_value()) {
            check = CopyRegularFile(planned.source, target, planned.links);
        } else if (Utils::CFUtils::ToFile(target, *planned.text) != 0) {
            check.size = planned.text->size();
        } else {
            check.problem = "It cannot be written into the collection folder";
        }
    }
    if (!check.problem.empty()) {
        // What can be read all the same has only not been copied.
        m_report.incomplete =
            m_report.incomplete || planned.text.has_value() ||
            (check.found && CheckRegularFile(planned.source, planned.links).problem.empty());
        NAX_TRACE_ERROR(kClass, "Not collected: '%s': %s\n", planned.source.c_str(),
                        check.problem.c_str());
    }
    AddToReport(planned, check);
}

void CSupportCollector::AddToReport(const SPlannedFile& planned, const SFileCheck& check) {
    SSupportFile file;
    file.name = std::string(planned.folder) + '/' + planned.name;
    file.source = planned.source;
    file.problem = check.problem;
    file.found = check.found;
    file.size = check.size;
    if (file.problem.empty()) {
        for (SSupportFile& earlier : m_report.files) {
            if (earlier.name == file.name && earlier.problem.empty()) {
                earlier.problem = "A later file has the same name in the archive";
            }
        }
    }
    m_report.files.push_back(std::move(file));
}

void CSupportCollector::RunQueries() {
    if (!IsOurs(kRegistryFolder)) {
        return;
    }
    const std::string output = InWorkFolder(std::string(kRegistryFolder) + '/' + kRegistryFile);
    for (const char* query : kRegistryQueries) {
        if (!IsCancelled()) {
            RunQuery(query, output);
        }
    }
    const SFileCheck check = CheckRegularFile(output, LinkRule::Refuse);
    m_report.incomplete = m_report.incomplete || (check.found && !check.problem.empty());
    AddToReport(PlanRegistryFile(), check);
}

void CSupportCollector::RunQuery(const std::string& query, const std::string& output) {
    const std::unique_ptr<IShellProcess> process = StartShellCommand("cmd", query + Quoted(output));
    if (process == nullptr) {
        const DWORD code = ::GetLastError();
        // Without a program of somebody else's only our own file can have failed.
        m_report.incomplete = m_report.incomplete || IsOfSystem(code) ||
                              GetEnvironmentText("NAXFEWXMLDB_REG").value_or("").empty();
        WarnOfQuery(query, SystemMessage(code));
        return;
    }
    // In steps, so that a cancelled collection does not wait to the end.
    DWORD waited = 0;
    while (!process->Wait(std::min(kWaitStep, m_queryLimit - waited))) {
        waited += std::min(kWaitStep, m_queryLimit - waited);
        if (IsCancelled()) {
            return;
        }
        if (waited >= m_queryLimit) {
            WarnOfQuery(query,
                        "no answer within " + std::to_string(m_queryLimit) + " milliseconds");
            return;
        }
    }
}

void CSupportCollector::WarnOfQuery(const std::string& query, const std::string& reason) {
    // As people type it: without the interpreter's option and the redirection.
    m_report.warnings.push_back(query.substr(3, query.size() - 6) + ": " + reason);
    NAX_TRACE_ERROR(kClass, "%s\n", m_report.warnings.back().c_str());
}

void CSupportCollector::WriteZip() {
    if (m_folders.empty()) {
        m_report.failure = m_report.warnings.front();
        return;
    }
    std::vector<SArchiveEntry> entries;
    for (const std::string& folder : m_folders) {
        entries.push_back({folder, {}});
        for (SSupportFile& file : m_report.files) {
            if (file.problem.empty() && file.name.starts_with(folder + '/')) {
                // A later file of the same name may have failed and taken the copy with it.
                file.problem = CheckRegularFile(InWorkFolder(file.name), LinkRule::Refuse).problem;
                if (file.problem.empty()) {
                    entries.push_back({file.name, InWorkFolder(file.name)});
                }
            }
        }
    }
    m_report.failure = WriteArchive(m_report.archive, entries, kKey, m_request.isCancelled);
    if (!m_report.failure.empty() && IsCancelled()) {
        m_report.failure = kCancelled;
    }
}

void CSupportCollector::RemoveOldArchives() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    for (const SFoundFile& file : FindFiles(m_request.folder, "*.zip*")) {
        // Without a new archive the earlier one is the best that there is.
        if (file.regular && file.name != kSupportArchive && now - file.writeTime > kOldestArchive &&
            DeleteFileA(InFolder(file.name).c_str()) != FALSE) {
            m_report.removed.push_back(file.name);
        }
    }
}

void CSupportCollector::RemoveWorkingFolders() {
    for (const std::string& folder : m_folders) {
        if (!RemoveFolder(InWorkFolder(folder))) {
            m_report.warnings.push_back("cannot remove the working folder '" +
                                        InWorkFolder(folder) + "'");
        }
    }
}

bool CSupportCollector::IsCancelled() const {
    return m_request.isCancelled && m_request.isCancelled();
}

std::string CSupportCollector::InFolder(const std::string& name) const {
    return JoinPath(m_request.folder, name);
}

std::string CSupportCollector::InWorkFolder(const std::string& name) const {
    return JoinPath(m_request.workFolder.empty() ? m_request.folder : m_request.workFolder, name);
}

bool CSupportCollector::IsOurs(const std::string& folder) const {
    return std::find(m_folders.begin(), m_folders.end(), folder) != m_folders.end();
}

} // namespace Nax::FrontEnd::XMLDB
