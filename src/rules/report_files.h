// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/report_page.h"

#include <mutex>
#include <string>

namespace Nax::FrontEnd::XMLDB {

inline constexpr char kReportPageFile[] = "ValidationResults.htm";
inline constexpr char kReportStyleSheetFile[] = "NAXUILandscape_Validator_style.css";

/// Where one export takes the page from and puts it.
struct SReportSource {
    bool useResources = true;   ///< built-in page and style sheet, else the two files
    std::string outputFolder;   ///< empty means the default report folder
    std::string pagePath;       ///< page template, read when resources are not used
    std::string styleSheetPath; ///< style sheet, read when resources are not used
};

/// The report page of the process with its style sheet, icon font and logo.
///
/// Page, style sheet, stamp and paths are made by the first Update and kept until StartNew, so
/// that the post-runs of all export rules, of one export or of several, work on one page. Any
/// thread may call. A companion that could not be written is tried again by the next Update.
class CReportFiles {
public:
    static CReportFiles& Shared();

    /// `outputFolder`, or the default when it is empty.
    static std::string FolderFor(const std::string& outputFolder);

    CReportFiles(const CReportFiles&) = delete;
    CReportFiles& operator=(const CReportFiles&) = delete;

    /// Lets the next Update begin with an empty page, its own time stamp and its own folder.
    void StartNew();
    bool IsPageMade();
    /// HTML for readers without scripts. Put into the page when that is made; later ones are lost.
    void SetSummary(const std::string& html);
    /// Puts the JSON text, unless it is empty, into the place that has `ruleName`, and writes page
    /// and companions as they now are. `folder` is where they are. False when a file could not be
    /// written; the other files are written all the same.
    bool Update(const SReportSource& source, const std::string& ruleName, const std::string& json,
                std::string& folder);

private:
    struct SState {
        bool pageMade = false;
        bool stamped = false;
        bool styleSheetWritten = false;
        bool fontWritten = false;
        CReportPage page;
        std::string styleSheet;
        std::string summary;
        std::string folder;
        std::string pagePath;
        std::string styleSheetPath;
        std::string fontPath;
        std::string logoPath;
    };

    CReportFiles() = default;

    void MakePage(const SReportSource& source);
    void FillStamp();
    void MakePaths(const SReportSource& source);
    bool WriteFiles();

    std::mutex m_mutex;
    SState m_state;
};

} // namespace Nax::FrontEnd::XMLDB
