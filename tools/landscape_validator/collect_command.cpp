// SPDX-License-Identifier: Apache-2.0
#include "collect_command.h"

#include "platform/host.h"
#include "printable.h"
#include "support_listing.h"
#include "support_sources.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

constexpr char kIncomplete[] =
    "the archive is not complete: the system could not copy all that is there";

/// With links resolved: behind one, ".." is not the folder that the text tells.
std::string Absolute(const std::string& path) {
    std::error_code error;
    fs::path absolute = fs::canonical(path, error);
    if (error) {
        absolute = fs::absolute(path, error);
    }
    return error ? path : absolute.string();
}

SSupportRequest RequestFor(const std::string& folder, const std::string& workFolder) {
    SSupportRequest request;
    request.workFolder = workFolder;
    request.folder = Absolute(folder);
    request.database = request.folder + "/UILandscape.db";
    request.keepEqualNames = true;
    request.isCancelled = &IsStopRequested;
    return request;
}

/// The database must be in the archive when there is one.
bool IsDatabaseLeftOut(const SSupportFile& file) {
    return file.name.starts_with("Database/") && file.found && !file.problem.empty();
}

/// Once the system has failed, what is there and not in the archive is told.
bool IsLost(const SSupportFile& file, const SSupportReport& report) {
    return IsDatabaseLeftOut(file) || (report.incomplete && file.found && !file.problem.empty());
}

std::string WhyLeftOut(const SSupportFile& file) {
    // A line end in a name must not look like another message.
    return fmt::format("cannot collect '{}': {}", Printable(file.source), file.problem);
}

/// One collection, step by step; each step is told on `err` when it fails.
class CCollectRun {
public:
    CCollectRun(const SCollectOptions& options, std::ostream& out, std::ostream& err)
        : m_options(options), m_out(out), m_err(err) {}

    ExitCode Run() {
        if (!PrepareFolder()) {
            return ExitCode::Failure;
        }
        SSupportRequest request =
            RequestFor(m_options.outputFolder, m_work ? m_work->GetSupportFolder() : std::string());
        if (!FindLandscapeFiles(request)) {
            return ExitCode::Failure;
        }
        if (!m_options.list) {
            WatchStopSignals();
        }
        const SSupportReport report =
            m_options.list ? ListSupportFiles(request) : CollectSupportFiles(request);
        LetStopSignalsEnd();
        Tell(report);
        return m_complete ? ExitCode::Clean : ExitCode::Failure;
    }

private:
    bool Fail(const std::string& message) {
        m_err << kMessageStart << PrintableLines(message) << '\n';
        m_complete = false;
        return false;
    }

    bool PrepareFolder() {
        const std::string& folder = m_options.outputFolder;
        std::error_code error;
        if (!IsUtf8(folder)) {
            return Fail("the name of the output folder is not UTF-8");
        }
        if (!fs::is_directory(folder, error)) {
            return Fail(!error || error == std::errc::no_such_file_or_directory
                            ? "there is no folder '" + folder +
                                  "' to collect from; validate into it first"
                            : "cannot collect from '" + folder + "': " + error.message());
        }
        if (!m_options.list && !Lock(folder)) {
            return false;
        }
        OverrideKnownFolder(KnownFolder::LocalAppData, Absolute(folder).c_str());
        if (!m_options.configFolder.empty()) {
            OverrideKnownFolder(KnownFolder::AppData, Absolute(m_options.configFolder).c_str());
        }
        return true;
    }

    bool Lock(const std::string& folder) {
        std::string reason;
        switch (LockFolder(folder, m_lock, reason)) {
            case LockOutcome::Taken:
                m_work = std::make_unique<CWorkFolder>(folder);
                if (m_work->Make(reason)) {
                    return true;
                }
                break;
            case LockOutcome::HeldElsewhere:
                return Fail("another run is writing into '" + folder + "'; wait for it");
            case LockOutcome::Failed:
                break;
        }
        return Fail("cannot write into the output folder '" + folder + "': " + reason);
    }

    bool FindLandscapeFiles(SSupportRequest& request) {
        if (IsNoFile(request.database)) {
            return Fail("'" + request.database + "' is not a file");
        }
        const bool interrupted = WasInterrupted(request.database);
        if (interrupted && !m_options.list) {
            const std::string failure = SettleDatabase();
            if (WasInterrupted(request.database) && !failure.empty()) {
                return Fail("the database '" + request.database +
                            "' of an interrupted run cannot be settled: " + failure);
            }
        }
        if (!m_options.files.empty()) {
            for (const std::string& file : m_options.files) {
                if (IsUtf8(file)) {
                    m_sources.Add(file);
                } else {
                    Fail("cannot collect '" + file + "': Its name is not UTF-8");
                }
            }
        } else if (interrupted && m_options.list) {
            return Fail("a run was interrupted, or is going on: '" + request.database +
                        "-journal' is there, so the files of the last run cannot be told without "
                        "writing; name the files");
        } else {
            std::string reason;
            if (!m_sources.AddFilesOfLastRun(request.database, reason)) {
                return Fail(reason);
            }
        }
        request.files = m_sources.GetFiles();
        return true;
    }

    void Tell(const SSupportReport& report) {
        const bool made = report.failure.empty();
        if (made || m_options.list) {
            PrintSupportFiles(report,
                              m_options.list ? "Would go into the archive" : "In the archive",
                              m_sources.GetMissing(), m_out);
        }
        for (const std::string& warning : report.warnings) {
            m_err << kMessageStart << Printable(warning) << '\n';
        }
        for (const SSupportFile& file : report.files) {
            const bool isNamed =
                !m_options.files.empty() && file.name.starts_with("Landscape_files/");
            if (IsLost(file, report) || (isNamed && !file.problem.empty())) {
                Fail(WhyLeftOut(file));
            }
        }
        if (made && report.incomplete) {
            Fail(kIncomplete);
        }
        TellWhereRelativeNamesAreLookedFor(report);
        if (!made) {
            Fail((m_options.list ? "" : "no archive was made: ") + report.failure);
            PrintRemovedArchives(report, m_out);
        } else if (!m_options.list) {
            PrintSupportArchive(report, m_out);
        }
        errno = 0;
        if (!m_out.flush()) {
            const int code = errno;
            Fail("the list cannot be written to standard output" +
                 (code == 0 ? "" : ": " + std::generic_category().message(code)));
        }
    }

    /// One missing file may be gone; when all are, the names are read in the wrong folder.
    void TellWhereRelativeNamesAreLookedFor(const SSupportReport& report) {
        bool anyMissing = false;
        for (const SSupportFile& file : report.files) {
            if (file.name.starts_with("Landscape_files/") && fs::path(file.source).is_relative()) {
                if (file.found) {
                    return;
                }
                anyMissing = true;
            }
        }
        if (anyMissing && m_options.files.empty()) {
            std::error_code error;
            m_err << kMessageStart
                  << "the last run named its files relative to the folder that it was "
                  << "started in; they are not there below '"
                  << Printable(fs::current_path(error).string())
                  << "'. Collect from the run's folder, or name the files\n";
        }
    }

    const SCollectOptions& m_options;
    std::ostream& m_out;
    std::ostream& m_err;
    bool m_complete = true; ///< false once a file or a step was not done
    std::unique_ptr<IFolderLock> m_lock;
    std::unique_ptr<CWorkFolder> m_work; ///< null for a list; goes before the lock does
    CSupportSources m_sources;
};

} // namespace

ExitCode RunCollect(const SCollectOptions& options, std::ostream& out, std::ostream& err) {
    LetClosedPipesFailWrites();
    return CCollectRun(options, out, err).Run();
}

void CollectAfterRun(const std::string& outputFolder, const CWorkFolder& work,
                     const CFileList& files, std::ostream& out, std::ostream& err,
                     std::vector<std::string>& failures) {
    CSupportSources sources;
    for (std::size_t index = 0; index < files.GetCount(); ++index) {
        if (!files[index].path.empty()) {
            sources.Add(files[index].path);
        }
    }
    SSupportRequest request = RequestFor(outputFolder, work.GetSupportFolder());
    request.files = sources.GetFiles();
    WatchStopSignals();
    const SSupportReport report = CollectSupportFiles(request);
    LetStopSignalsEnd();
    for (const std::string& warning : report.warnings) {
        err << kMessageStart << Printable(warning) << '\n';
    }
    if (!report.failure.empty()) {
        failures.push_back("no archive was made: " + report.failure);
        PrintRemovedArchives(report, out);
        return;
    }
    PrintSupportArchive(report, out);
    if (report.incomplete) {
        failures.emplace_back(kIncomplete);
    }
    for (const SSupportFile& file : report.files) {
        if (IsLost(file, report)) {
            failures.push_back(WhyLeftOut(file));
        }
    }
}

} // namespace LandscapeValidator
