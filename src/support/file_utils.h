// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace Nax::FrontEnd::XMLDB::Utils {

/// The library's whole-file operations. Paths are narrow UTF-8. Failures are traced and returned,
/// never thrown (out of memory aside). Any thread may call; writers take turns, process-wide.
class CFUtils {
public:
    /// Replaces the file's content by `text`. Non-zero when every byte reached the file; after a
    /// failed write (a full disk) the incomplete file is removed, so that nobody reads half of it.
    ///
    /// The first call switches the standard streams' synchronisation with C input and output off;
    /// a host whose threads print at that time calls std::ios::sync_with_stdio(false) at its start.
    static int ToFile(const std::string& path, const std::string& text);
    /// The same for `count` bytes, unaltered on every platform.
    static int ToFile(const std::string& path, const void* bytes, std::size_t count);

    /// The first ToFile that failed since ForgetFailure, of the whole process: the file's name
    /// without its folder, and the system's reason. Empty when none has.
    static std::string GetFailure();
    static void ForgetFailure();

    /// The file's whole content; empty when it cannot be read.
    static std::string FromFile(const std::string& path);

    /// The last write time in UTC as "%2d.%2d.%4d  %2d-%02d-%02d" (day, month, year, time), or
    /// "Error" when it cannot be had.
    static std::string GetFileTimeText(const std::string& path);

    /// Name in `folder` under which the report archive `file` is kept, made of its last write time:
    /// "ReportBackup.zip_<time>_.zip". Empty when `file` cannot be opened for reading.
    static std::string GetReportBackupName(const std::string& folder, const std::string& file);
};

} // namespace Nax::FrontEnd::XMLDB::Utils
