// SPDX-License-Identifier: Apache-2.0
#include "rules/report_files.h"

#include <naxfewxmldb/text_processor.h>
#include <naxfewxmldb/xml_document.h>

#include "platform/files.h"
#include "platform/known_folders.h"
#include "support/file_utils.h"
#include "support/local_time.h"
#include "support/trace.h"
#include "xml/resource_ids.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CReportFiles";

constexpr char kFontFile[] = "NAX-icons.woff";
constexpr char kLogoFile[] = "naxlogo_nax_quelin_10.png";

using Utils::CFUtils;

std::string LoadText(bool useResources, int resource, const std::string& path) {
    return useResources ? CXmlDbDocument::LoadInternalResource(resource, nullptr)
                        : CFUtils::FromFile(path);
}

bool WriteResource(int resource, const std::string& path) {
    unsigned long size = 0;
    const std::string bytes = CXmlDbDocument::LoadInternalResource(resource, &size);
    return CFUtils::ToFile(path, bytes.data(), size) != 0;
}

} // namespace

CReportFiles& CReportFiles::Shared() {
    static CReportFiles files;
    return files;
}

std::string CReportFiles::FolderFor(const std::string& outputFolder) {
    if (!outputFolder.empty()) {
        return outputFolder;
    }
    const std::string local = GetKnownFolder(CSIDL_LOCAL_APPDATA);
    return local.empty() ? std::string() : JoinPath(JoinPath(local, "Nax"), "LandscapeValidation");
}

void CReportFiles::StartNew() {
    const std::lock_guard lock(m_mutex);
    m_state = SState();
}

bool CReportFiles::IsPageMade() {
    const std::lock_guard lock(m_mutex);
    return m_state.pageMade;
}

void CReportFiles::SetSummary(const std::string& html) {
    const std::lock_guard lock(m_mutex);
    m_state.summary = html;
}

bool CReportFiles::Update(const SReportSource& source, const std::string& ruleName,
                          const std::string& json, std::string& folder) {
    const std::lock_guard lock(m_mutex);
    MakePage(source);
    if (!json.empty()) {
        m_state.page.Fill(ruleName, EscapeForScript(json));
    }
    FillStamp();
    MakePaths(source);
    folder = m_state.folder;
    return WriteFiles();
}

void CReportFiles::MakePage(const SReportSource& source) {
    if (m_state.pageMade) {
        return;
    }
    m_state.page = CReportPage(LoadText(source.useResources, kPageResource, source.pagePath));
    m_state.page.Fill("NoScriptSummary", m_state.summary);
    m_state.styleSheet = LoadText(source.useResources, kStyleSheetResource, source.styleSheetPath);
    m_state.pageMade = true;
}

void CReportFiles::FillStamp() {
    if (m_state.stamped) {
        return;
    }
    m_state.stamped = true;
    const TextProcessor texts;
    const bool date =
        m_state.page.Fill("CreationDate", texts.EscapeXml(FormatLocalTime("%Y-%m-%d")));
    const bool time =
        m_state.page.Fill("CreationTime", texts.EscapeXml(FormatLocalTime("%H:%M:%S")));
    if (!date || !time) {
        NAX_TRACE_ERROR(kClass, "Failed report creation date update!\n");
    }
}

void CReportFiles::MakePaths(const SReportSource& source) {
    if (m_state.folder.empty()) {
        m_state.folder = FolderFor(source.outputFolder);
        m_state.pagePath = JoinPath(m_state.folder, kReportPageFile);
        m_state.styleSheetPath = JoinPath(m_state.folder, kReportStyleSheetFile);
        m_state.fontPath = JoinPath(m_state.folder, kFontFile);
        m_state.logoPath = JoinPath(m_state.folder, kLogoFile);
    }
}

bool CReportFiles::WriteFiles() {
    if (m_state.folder.empty() || !CreateFolders(m_state.folder)) {
        NAX_TRACE_ERROR(kClass, "No folder for the report: '%s'\n", m_state.folder.c_str());
        return false;
    }
    const bool pageWritten = CFUtils::ToFile(m_state.pagePath, m_state.page.Render()) != 0;
    if (!m_state.styleSheetWritten) {
        m_state.styleSheetWritten =
            CFUtils::ToFile(m_state.styleSheetPath, m_state.styleSheet) != 0;
    }
    if (!m_state.fontWritten) {
        m_state.fontWritten = WriteResource(kIconFontResource, m_state.fontPath);
    }
    const bool logoWritten = WriteResource(kLogoResource, m_state.logoPath);
    return pageWritten && logoWritten && m_state.styleSheetWritten && m_state.fontWritten;
}

} // namespace Nax::FrontEnd::XMLDB
