// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace LandscapeValidator {

/// A hidden folder inside the output folder for what is not finished: the report that is being
/// written and the files that are being collected. Removed by destruction; what a killed run has
/// left is removed by the next one.
///
/// The output folder's lock must be held while it lives. One thread.
class CWorkFolder {
public:
    explicit CWorkFolder(std::string outputFolder);
    CWorkFolder(const CWorkFolder&) = delete;
    CWorkFolder& operator=(const CWorkFolder&) = delete;
    ~CWorkFolder();

    /// Makes the folder, empty. False with the reason when it cannot be.
    bool Make(std::string& reason);
    /// For the report; Make has made it.
    std::string GetReportFolder() const;
    /// For a collection; Make has made it.
    std::string GetSupportFolder() const;

    /// Moves the files of the report into the output folder, `last` behind all others, in place of
    /// those of their names. Of `outdated` those that the report does not have are removed before
    /// that. Files of their names that cannot be replaced are found before anything is moved.
    bool MoveReport(const std::vector<std::string>& outdated, const std::string& last,
                    std::string& reason) const;

private:
    std::string m_output;
    std::string m_path;
};

} // namespace LandscapeValidator
