// SPDX-License-Identifier: Apache-2.0
#include "validate_command.h"

#include "action_export.h"
#include "backups.h"
#include "collect_command.h"
#include "findings.h"
#include "formats/findings_output.h"
#include "input_files.h"
#include "landscape_loader.h"
#include "platform/host.h"
#include "platform/host_files.h"
#include "printable.h"
#include "readable_file.h"
#include "report.h"
#include "result_limit.h"
#include "rule_indexes.h"
#include "rule_set.h"
#include "schema_files.h"
#include "support_sources.h"
#include "work_folder.h"

#include <naxfewxmldb/memory.h>

#include <fmt/format.h>

#include <filesystem>
#include <iostream>
#include <sstream>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

// The database is made anew by every run, and an earlier one stands beside it as a backup, so it
// need not survive a failing machine; a crash of the program it does survive, by its journal. The
// cache holds the indexes that the rules search, and the rules' lists of ids stay out of temporary
// files. Larger pages hold findings with their rules' texts in one piece. Space that is given up
// held nothing that the input does not hold, so it need not be overwritten.
constexpr const char* kDatabaseSettings[] = {
    "PRAGMA synchronous = OFF",   "PRAGMA page_size = 8192",    "PRAGMA cache_size = -65536",
    "PRAGMA temp_store = MEMORY", "PRAGMA secure_delete = OFF",
};

// Somebody may be looking into the database when a transaction is to be written: that one is waited
// for, and long, since a rule whose row cannot be stored is only told in the trace. Not before the
// load has ended: a cache that is full would wait anew at every record, where it may as well grow.
constexpr char kWaitForReaders[] = "PRAGMA busy_timeout = 300000";

/// One run, step by step; each step is told on `err` when it fails.
class CValidateRun {
public:
    CValidateRun(const SOptions& options, std::ostream& out, std::ostream& err)
        : m_options(options),
          m_err(err),
          m_output(options, out, err),
          m_ruleSet(options.rules),
          m_files(options.includes, options.limits.files) {
        SetXmlLimits(options.limits.xml);
    }

    ExitCode Run() {
        if (!m_output.Prepare() || !LoadRuleSet() || !ReadCommandLineFiles() || !PrepareFolder()) {
            return Stop();
        }
        if (!FillDatabase() || !RunRules() || !HadMemory()) {
            return StopAfterFailure();
        }
        WriteReport();
        // Read after the report, which moves failed results without an entry to "no file": summary
        // and page tell the same.
        SFindings findings = CollectFindings(*m_processor, m_loader->GetOutcomes(), m_places);
        findings.SetSchemaGate(m_ruleSet.GetSchemaGate());
        const SPageCounts pageCounts = m_report->ReadPageCounts();
        // Most operations go on after a statement that failed. When the database is not whole the
        // findings may not be, and then neither report nor document may tell them. The same goes
        // for memory.
        if (!HadMemory() || !FinishDatabase()) {
            return StopAfterFailure();
        }
        const bool published = PublishReport();
        TellLeftOut();
        if (published) {
            RemoveOldBackups(m_options.outputFolder, m_options.keepBackups);
            RemoveOldSummaries(m_options.outputFolder, m_options.keepBackups + 1);
        }
        return Tell(findings, pageCounts, published);
    }

private:
    bool Fail(const std::string& message) {
        m_output.AddError(message);
        return false;
    }

    /// An allocation that failed may have cost a finding: what is at hand must not be told as
    /// whole.
    bool HadMemory() {
        return GetFailedAllocations() == 0 || Fail("out of memory: the files cannot be checked");
    }

    /// Documents are written also of what could not be done.
    ExitCode Stop() { return m_output.Write({m_files}); }

    /// Now of all times support needs the files; the connection closes first.
    ExitCode StopAfterFailure() {
        m_report.reset();
        m_rules.reset();
        m_loader.reset();
        m_processor.reset();
        m_err << Collect();
        return Stop();
    }

    /// Before anything is touched: whatever is wrong with the rules or the schema.
    bool LoadRuleSet() {
        if (!m_ruleSet.Load()) {
            for (const SFileFault& fault : m_ruleSet.GetFaults()) {
                Fail(fault.Describe());
            }
            return false;
        }
        const std::string failure = CheckSchemaFiles(m_options.rules.schema);
        return failure.empty() || Fail(failure);
    }

    /// False when there is nothing to validate at all.
    bool ReadCommandLineFiles() {
        const SInputs inputs = FindInputs(m_options.files, m_options.inputs);
        for (const std::string& note : inputs.notes) {
            m_err << kMessageStart << PrintableLines(note) << '\n';
        }
        for (const std::string& failure : inputs.failures) {
            Fail(failure);
        }
        bool any = false;
        for (const SInputFile& input : inputs.files) {
            any = (input.standardInput ? ReadStandardInput() : AddInputFile(input.path)) || any;
        }
        return any;
    }

    bool AddInputFile(const std::string& path) {
        const std::string reason = WhyUnreadable(path, Pipes::Untried);
        if (IsUtf8(path)) {
            m_files.AddCommandLineFile(AsLocalPath(path));
        }
        if (!reason.empty()) {
            m_output.AddError(fmt::format("cannot read '{}': {}", path, reason), path);
        }
        return reason.empty();
    }

    /// Standard input may be a pipe or a socket, which the parser could not open by a name.
    bool ReadStandardInput() {
        const std::string& name = m_options.inputs.stdinName;
        if (m_scratch) {
            return true; // read already
        }
        std::string reason = IsUtf8(name) ? "" : "the name that --stdin-name gives is not UTF-8";
        m_scratch = reason.empty() ? MakeScratchFolder(reason) : nullptr;
        const std::string path = m_scratch ? m_scratch->GetPath() + "/stdin.xml" : "";
        if (!m_scratch || !CopyToFile(std::cin, path, m_options.limits.xml.fileSize, reason)) {
            return Fail("cannot read standard input: " + reason);
        }
        m_files.AddCommandLineFile(path, name);
        return true;
    }

    bool PrepareFolder() {
        const std::string& folder = m_options.outputFolder;
        if (!IsUtf8(folder)) {
            return Fail("the name of the output folder is not UTF-8");
        }
        std::error_code error;
        std::error_code unknown;
        fs::create_directories(folder, error);
        if (!fs::is_directory(folder, unknown)) {
            return Fail("cannot make the output folder '" + folder + "': " +
                        (error     ? error.message()
                         : unknown ? unknown.message()
                                   : "A file has that name"));
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
        m_work = std::make_unique<CWorkFolder>(folder);
        if (!m_work->Make(reason)) {
            return Fail("cannot write into the output folder '" + folder + "': " + reason);
        }
        OverrideKnownFolder(KnownFolder::LocalAppData, fs::absolute(folder).string().c_str());
        if (!m_options.configFolder.empty()) {
            OverrideKnownFolder(KnownFolder::AppData,
                                fs::absolute(m_options.configFolder).string().c_str());
        }
        return true;
    }

    bool KeepEarlierDatabase() {
        const std::string database = (fs::path(m_options.outputFolder) / "UILandscape.db").string();
        if (IsNoFile(database)) {
            return Fail("'" + database + "' is not a file, so the database cannot be made there");
        }
        m_earlier = std::make_unique<CEarlierDatabase>(database);
        const std::string failure = SettleBeforeRun(database);
        std::string reason;
        if (!failure.empty()) {
            return Fail("the database '" + database +
                        "' of an interrupted run cannot be settled: " + failure);
        }
        if (!MoveDatabaseAside(database, reason)) {
            return Fail("the earlier database '" + database +
                        "' cannot be kept as a backup: " + reason);
        }
        m_earlier->Lock();
        return true;
    }

    bool FinishDatabase() {
        const bool failed = !m_processor->GetStorageFailure().empty() ||
                            !m_processor->DB_ExecuteQuery(kMarkFinished);
        return !failed || FailDatabase("the findings cannot be stored");
    }

    bool FillDatabase() {
        if (!KeepEarlierDatabase()) {
            return false;
        }
        m_processor = MakeProcessor(m_options.rules.schema, Transactional);
        if (!m_processor->Process(createDB, std::wstringstream())) {
            return FailDatabase("the database cannot be made");
        }
        for (const char* setting : kDatabaseSettings) {
            m_processor->DB_ExecuteQuery(setting);
        }
        m_processor->DB_ExecuteQuery(kWaitForReaders);
        m_processor->DB_ExecuteQuery(kMarkUnfinished);
        m_processor->DB_ExecuteQuery("PRAGMA busy_timeout = 0");
        m_loader = std::make_unique<CLandscapeLoader>(*m_processor, m_files);
        const bool loaded = m_loader->Load([this](const SLandscapeFile& file, std::size_t known) {
            ShowProgress("Reading " + std::to_string(file.index + 1) + " of " +
                         std::to_string(known) + ": " + file.url);
        });
        if (!m_loader->GetFailure().empty()) {
            return Fail("the files cannot be checked: " + m_loader->GetFailure());
        }
        ShowProgress("Storing " + std::to_string(m_loader->GetEntryCount()) + " entries");
        m_processor->DB_ExecuteQuery(kWaitForReaders);
        const bool committed = loaded && m_processor->Process(Commit, std::wstringstream()) &&
                               m_loader->InsertRemainingRows();
        const bool whole = m_processor->GetStorageFailure().empty();
        return (committed && whole) || FailDatabase("the landscape cannot be stored");
    }

    bool RunRules() {
        ShowProgress("Running the rules");
        bool done = m_processor->Process(CreateResultIdTable, std::wstringstream());
        done = m_processor->Process(CreateResultsTable, std::wstringstream()) && done;
        done = m_processor->Process(CreateRulesTable, std::wstringstream()) && done;
        m_rules = std::make_unique<CRulesProcessor>(m_processor, _bstr_t());
        done = m_ruleSet.LoadInto(*m_rules) && done;
        if (!m_ruleSet.IsSchemaChosen()) {
            m_loader->ForgetViolations();
        }
        {
            CRuleIndexes indexes(*m_processor);
            done = (m_rules->GetRules().empty() || m_rules->Execute()) && done;
            m_leftOut = RemoveResultsBeyond(*m_processor, m_options.limits.findings);
            m_rules->PreProcess(m_loader->GetFindings());
            indexes.AddForLookUps();
            m_places = LocateFindings(*m_processor, m_loader->GetTables(), m_loader->GetPositions(),
                                      m_ruleSet.HasBuiltInRules());
        }
        ShowProgress({});
        const bool whole = m_processor->GetStorageFailure().empty();
        return (done && whole) || FailDatabase("the rules cannot be run");
    }

    /// What is told then is true, but not all: the run has failed.
    void TellLeftOut() {
        if (m_leftOut > 0) {
            const std::uint64_t limit = m_options.limits.findings;
            Fail(
                fmt::format("the rules found more than {} findings, which is the limit "
                            "\"findings\". {} The {} least severe are left out; of one with long "
                            "texts 200 characters count as one",
                            limit, LimitAdvice("findings"), m_leftOut));
        }
    }

    void WriteReport() {
        ShowProgress("Writing the report");
        m_report = std::make_unique<CReport>(*m_processor, *m_rules, *m_work);
        m_report->Write(m_options.writeJson);
        m_actionFailure = ExportActions(*m_rules, m_ruleSet, m_work->GetReportFolder());
        ShowProgress({});
    }

    /// The findings are safe in the database: a report that cannot be written fails the run and
    /// leaves an earlier one as it was, but the summary is still printed.
    bool PublishReport() {
        std::vector<std::string> actionFiles;
        for (const SRuleElement& action : m_ruleSet.GetActions()) {
            actionFiles.push_back(action.Get("output"));
        }
        const bool published = m_report->Publish(actionFiles);
        if (!published) {
            Fail("cannot write into '" + m_options.outputFolder + "': " + m_report->GetFailure());
        }
        if (!m_actionFailure.empty()) {
            Fail(m_actionFailure);
        }
        return published;
    }

    /// What went into the archive; empty when none was asked for.
    std::string Collect() {
        if (!m_options.collect) {
            return {};
        }
        ShowProgress("Collecting support files");
        std::ostringstream told;
        std::vector<std::string> failures;
        CollectAfterRun(m_options.outputFolder, *m_work, m_files, told, m_err, failures);
        ShowProgress({});
        for (const std::string& failure : failures) {
            Fail(failure);
        }
        return told.str();
    }

    ExitCode Tell(const SFindings& findings, const SPageCounts& pageCounts, bool pageWritten) {
        const std::string collected = Collect();
        const std::string page = CReport::PagePath(m_options.outputFolder);
        std::string reason;
        if (m_options.openPage && pageWritten && !OpenInBrowser(page, reason)) {
            Fail("no program could be started that opens '" + page + "': " + reason);
        }
        return m_output.Write({m_files, &m_loader->GetOutcomes(), &findings, m_rules->GetRules(),
                               m_loader->GetEntryCount(), pageCounts,
                               m_processor->GetDatabaseFileName(), page, pageWritten, collected,
                               m_ruleSet.IsSchemaChosen(), m_ruleSet.GetSchemaGate(),
                               m_ruleSet.HasBuiltInRules()});
    }

    bool FailDatabase(const std::string& message) {
        const std::string failure = m_processor->GetStorageFailure();
        return Fail(failure.empty()
                        ? message + ":" + m_processor->GetLastDBError()
                        : message + " in '" + m_processor->GetDatabaseFileName() + "': " + failure);
    }

    /// One line that the next one replaces; for a person at a terminal only.
    void ShowProgress(const std::string& text) {
        static const bool terminal = IsStandardErrorTerminal();
        if (terminal) {
            m_err << "\r\x1b[K" << Printable(text) << std::flush;
        }
    }

    const SOptions& m_options;
    std::ostream& m_err;
    CFindingsOutput m_output;
    CRuleSet m_ruleSet;
    std::unique_ptr<IScratchFolder> m_scratch; ///< holds the copy of standard input
    CFileList m_files;
    std::unique_ptr<IFolderLock> m_lock;
    std::unique_ptr<CWorkFolder> m_work; ///< goes before the lock does
    std::unique_ptr<CEarlierDatabase> m_earlier;
    std::shared_ptr<CDBProcessor> m_processor;
    std::unique_ptr<CLandscapeLoader> m_loader;
    std::unique_ptr<CRulesProcessor> m_rules;
    std::unique_ptr<CReport> m_report;
    std::string m_actionFailure; ///< why the actions of files did not write theirs
    FindingPlaces m_places;
    std::uint64_t m_leftOut = 0; ///< findings
};

} // namespace

ExitCode RunValidate(const SOptions& options, std::ostream& out, std::ostream& err) {
    LetClosedPipesFailWrites();
    return CValidateRun(options, out, err).Run();
}

} // namespace LandscapeValidator
