// SPDX-License-Identifier: Apache-2.0
#include "validate_command.h"

#include "backups.h"
#include "collect_command.h"
#include "findings.h"
#include "landscape_loader.h"
#include "platform/host.h"
#include "printable.h"
#include "report.h"
#include "rule_indexes.h"
#include "summary.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

constexpr char kName[] = "landscape-validator: ";

// The database is made anew by every run, and an earlier one stands beside it as a backup, so it
// need not survive a failing machine; a crash of the program it does survive, by its journal. The
// cache holds the indexes that the rules search, and the rules' lists of ids stay out of temporary
// files. Larger pages hold findings with their rules' texts in one piece. Space that is given up
// held nothing that the input does not hold, so it need not be overwritten.
constexpr const char* kDatabaseSettings[] = {
    "PRAGMA synchronous = OFF",
    "PRAGMA page_size = 8192",
    "PRAGMA cache_size = -65536",
    "PRAGMA temp_store = MEMORY",
    "PRAGMA secure_delete = OFF",
};

/// Why a file of the command line cannot be read; empty when it can.
std::string WhyUnreadable(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        return error ? error.message() : "No such file or directory";
    }
    if (fs::is_directory(status)) {
        return "It is a folder";
    }
    if (!fs::is_regular_file(status)) {
        return {}; // a pipe can be opened once only, and that is the parser's turn
    }
    errno = 0;
    const std::ifstream file(path, std::ios::binary);
    return file ? std::string() : std::generic_category().message(errno);
}

/// One run, step by step; each step is told on `err` when it fails.
class CValidateRun {
public:
    CValidateRun(const SOptions& options, std::ostream& out, std::ostream& err)
        : m_options(options), m_out(out), m_err(err) {}

    ExitCode Run() {
        if (!ReadCommandLineFiles() || !PrepareFolder()) {
            return ExitCode::Failure;
        }
        if (!FillDatabase() || !RunRules()) {
            // Now of all times support needs the files; the connection closes first.
            m_rules.reset();
            m_loader.reset();
            m_processor.reset();
            Collect();
            return ExitCode::Failure;
        }
        WriteReport();
        // Read after the report, which moves failed results without an entry to "no file": summary
        // and page tell the same.
        const SFindings findings = CollectFindings(*m_processor, m_loader->GetOutcomes(), m_lines);
        RemoveOldBackups(m_options.outputFolder, m_options.keepBackups);
        RemoveOldSummaries(m_options.outputFolder, m_options.keepBackups + 1);
        return PrintSummary(findings);
    }

private:
    bool Fail(const std::string& message) {
        m_err << kName << PrintableLines(message) << '\n';
        m_complete = false;
        return false;
    }

    /// False when there is nothing to validate at all.
    bool ReadCommandLineFiles() {
        bool any = false;
        for (const std::string& path : m_options.files) {
            const std::string reason = IsUtf8(path) ? WhyUnreadable(path) : "Its name is not UTF-8";
            if (reason.empty()) {
                any = true;
            } else {
                Fail(fmt::format("cannot read '{}': {}", path, reason));
            }
            if (IsUtf8(path)) {
                m_files.AddCommandLineFile(path);
            }
        }
        return any;
    }

    bool PrepareFolder() {
        const std::string& folder = m_options.outputFolder;
        if (!IsUtf8(folder)) {
            return Fail("the name of the output folder is not UTF-8");
        }
        std::error_code error;
        std::error_code ignored;
        fs::create_directories(folder, error);
        if (!fs::is_directory(folder, ignored)) {
            return Fail("cannot make the output folder '" + folder +
                        "': " + (error ? error.message() : "A file has that name"));
        }
        std::string reason;
        switch (LockFolder(folder, m_lock, reason)) {
            case LockOutcome::Taken:
                break;
            case LockOutcome::HeldElsewhere:
                return Fail("another run is writing into '" + folder +
                            "'; wait for it or choose "
                            "another folder with --output");
            case LockOutcome::Failed:
                return Fail("cannot write into the output folder '" + folder + "': " + reason);
        }
        OverrideKnownFolder(KnownFolder::LocalAppData, fs::absolute(folder).string().c_str());
        if (!m_options.configFolder.empty()) {
            OverrideKnownFolder(KnownFolder::AppData,
                                fs::absolute(m_options.configFolder).string().c_str());
        }
        return true;
    }

    bool FillDatabase() {
        m_processor = std::make_shared<CDBProcessor>(true, Transactional, _bstr_t(), _bstr_t());
        if (!m_processor->Process(createDB, std::wstringstream())) {
            return FailDatabase("the database cannot be made");
        }
        for (const char* setting : kDatabaseSettings) {
            m_processor->DB_ExecuteQuery(setting);
        }
        m_loader = std::make_unique<CLandscapeLoader>(*m_processor, m_files);
        const bool loaded = m_loader->Load([this](const SLandscapeFile& file, std::size_t known) {
            ShowProgress("Reading " + std::to_string(file.index + 1) + " of " +
                         std::to_string(known) + ": " + file.url);
        });
        if (!m_loader->GetFailure().empty()) {
            return Fail("the files cannot be checked: " + m_loader->GetFailure());
        }
        ShowProgress("Storing " + std::to_string(m_loader->GetEntryCount()) + " entries");
        const bool committed = loaded && m_processor->Process(Commit, std::wstringstream()) &&
                               m_loader->InsertRemainingRows();
        return committed || FailDatabase("the landscape cannot be stored");
    }

    bool RunRules() {
        ShowProgress("Running the rules");
        bool done = m_processor->Process(CreateResultIdTable, std::wstringstream());
        done = m_processor->Process(CreateResultsTable, std::wstringstream()) && done;
        done = m_processor->Process(CreateRulesTable, std::wstringstream()) && done;
        m_rules = std::make_unique<CRulesProcessor>(m_processor, _bstr_t());
        done = m_rules->LoadRules(_bstr_t()) && done;
        {
            CRuleIndexes indexes(*m_processor);
            done = m_rules->Execute() && done;
            m_rules->PreProcess(m_loader->GetFindings());
            indexes.AddForLookUps();
            m_lines = LocateFindings(*m_processor, m_loader->GetTables(), m_loader->GetPositions());
        }
        ShowProgress({});
        return done || FailDatabase("the rules cannot be run");
    }

    /// The findings are safe in the database: a report that cannot be written fails the run, but
    /// the summary is still printed.
    void WriteReport() {
        ShowProgress("Writing the report");
        m_report = std::make_unique<CReport>(*m_processor, *m_rules, m_options.outputFolder);
        const bool written = m_report->Write(m_options.writeJson);
        ShowProgress({});
        if (!written) {
            Fail(m_report->GetFailure() + " into '" + m_options.outputFolder + "'");
        }
    }

    void Collect() {
        if (m_options.collect) {
            ShowProgress("Collecting support files");
            std::ostringstream told;
            const bool collected = CollectAfterRun(m_options.outputFolder, m_files, told, m_err);
            ShowProgress({});
            m_complete = collected && m_complete;
            m_out << told.str() << std::flush;
        }
    }

    ExitCode PrintSummary(const SFindings& findings) {
        const char* noColour = std::getenv("NO_COLOR");
        const bool colours =
            IsStandardOutputTerminal() && (noColour == nullptr || *noColour == '\0');
        CSummary summary(m_out, {colours, m_options.showAll});
        summary.Print(findings, m_files, m_loader->GetEntryCount(), m_rules->GetRules().size());
        summary.PrintPageCounts(m_report->ReadPageCounts());
        Collect();
        m_out << "Database: " << m_processor->GetDatabaseFileName() << '\n'
              << "Report: " << m_report->GetPagePath() << '\n';
        if (!m_out.flush()) {
            Fail("the summary cannot be written to standard output");
        }
        if (m_options.openPage && !OpenInBrowser(m_report->GetPagePath())) {
            Fail("no program could be started that opens '" + m_report->GetPagePath() + "'");
        }
        if (!m_complete) {
            return ExitCode::Failure;
        }
        return findings.Reach(m_options.failOn) ? ExitCode::Findings : ExitCode::Clean;
    }

    bool FailDatabase(const std::string& message) {
        return Fail(message + ":" + m_processor->GetLastDBError());
    }

    /// One line that the next one replaces; for a person at a terminal only.
    void ShowProgress(const std::string& text) {
        static const bool terminal = IsStandardErrorTerminal();
        if (terminal) {
            m_err << "\r\x1b[K" << Printable(text) << std::flush;
        }
    }

    const SOptions& m_options;
    std::ostream& m_out;
    std::ostream& m_err;
    bool m_complete = true; ///< false once a file or a step was not done
    CFileList m_files;
    std::unique_ptr<IFolderLock> m_lock;
    std::shared_ptr<CDBProcessor> m_processor;
    std::unique_ptr<CLandscapeLoader> m_loader;
    std::unique_ptr<CRulesProcessor> m_rules;
    std::unique_ptr<CReport> m_report;
    FindingLines m_lines;
};

} // namespace

ExitCode RunValidate(const SOptions& options, std::ostream& out, std::ostream& err) {
    return CValidateRun(options, out, err).Run();
}

} // namespace LandscapeValidator
