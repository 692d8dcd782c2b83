// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// The support archive: one zip file with all that support needs to see why a landscape cannot be
/// validated. CDBProcessor::CollectSupportFiles makes it; the functions here also tell what went
/// in.
#include <naxfewxmldb/export.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// One landscape file for the archive.
struct SSupportLandscapeFile {
    /// Its file-name part, after the last separator of either kind and without a drive, names the
    /// file in the archive. What a file name cannot hold everywhere is replaced, so that no name
    /// leads out of its folder: forbidden and control characters become "_", blanks and dots at the
    /// end are cut, a reserved device name gets "_" in front, nothing becomes "unnamed", and names
    /// of over 200 bytes are shortened. Of two files that end up with one name the later counts,
    /// unless the request keeps both.
    std::string path;
    /// The content; without it the file at `path` (or at `source`) is copied.
    std::optional<std::string> text;
    /// The file that is copied, when another than `path`.
    std::string source;
};

/// What to collect, and where.
struct SSupportRequest {
    std::string folder; ///< the collection folder, in which the archive is made
    /// An existing folder for the working folders; empty means the collection folder.
    std::string workFolder;
    std::string database; ///< path of the database file
    std::vector<SSupportLandscapeFile> files;
    /// Collect nothing when one of the working folders' names is taken. Otherwise a folder of such
    /// a name belongs to the collection, which removes it with all that is in it.
    bool keepExistingFolders = false;
    /// Keep all landscape files that end up with one name, letter case (ASCII) aside: the second
    /// "l.xml" becomes "l (2).xml".
    bool keepEqualNames = false;
    /// Asked between steps and while the archive is written; may be empty. Once it answers true the
    /// collection ends without an archive.
    std::function<bool()> isCancelled;
};

/// One file that was looked for.
struct SSupportFile {
    std::string name;       ///< in the archive, such as "Database/UILandscape.db"
    std::string source;     ///< where it was looked for
    std::string problem;    ///< why it is not in the archive; empty when it is
    bool found = true;      ///< false when there is nothing of that name, which is often so
    std::uint64_t size = 0; ///< in bytes; 0 for the registry's answers in a list
};

/// What a collection did, or would do.
struct SSupportReport {
    std::string archive; ///< path of the archive
    std::string failure; ///< why there is none; empty when it was made
    std::vector<SSupportFile> files;
    /// Something that is there could not be put in, because the system has no room or no means.
    bool incomplete = false;
    std::vector<std::string> warnings; ///< registry queries without an answer and the like
    std::vector<std::string> removed;  ///< names of archives that were removed for their age
};

/// Makes "LandscapeValidation.zip" in the collection folder. Best effort: what is missing or cannot
/// be read is told in the report and left out. Only regular files are copied, and symbolic links
/// are followed for the database and the landscape files only, which the host names: a link in a
/// configuration folder might lead to what is nobody's business.
///
/// The archive takes its name when it is complete. When it cannot be made, an earlier one stays as
/// it was, whatever its age, and no other file is left. Other archives ("*.zip*") that were last
/// written over 30 days ago are removed unless the collection was cancelled, the working folders
/// and "output.log" always.
///
/// Threads: one collection a folder at a time; no transaction may be open on the database. Throws
/// nothing; for want of memory the failure is "out of memory" and the rest of the report is empty.
NAXFEWXMLDB_EXPORT SSupportReport CollectSupportFiles(const SSupportRequest& request);

/// What CollectSupportFiles would put into the archive; writes nothing and asks no registry. Throws nothing, as above.
NAXFEWXMLDB_EXPORT SSupportReport ListSupportFiles(const SSupportRequest& request);

} // namespace Nax::FrontEnd::XMLDB
