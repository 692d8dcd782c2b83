// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/platform/xml_dom.h>
#include <naxfewxmldb/result_codes.h>
#include <naxfewxmldb/rule.h>
#include <naxfewxmldb/text_types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;
class CThreadLimiter;
class CXmlDbDocument;
struct SExportContext;

/// Outcome of one file's schema check: the validator's message and its result code.
using SchemaFinding = std::pair<_bstr_t, ResultCodes>;
/// Outcomes by the file's URI, as table `Files` holds it.
using SchemaFindings = std::map<_bstr_t, SchemaFinding>;

/// The rules engine: loads validation rules, runs them over a filled landscape database and
/// collects their findings in table `ValidationResults`; afterwards settles the results of rules
/// and files and exports them as JSON, report page and XML summary.
///
/// Order of calls: construct, LoadRules, Execute, PreProcess, PostProcess, GenerateReport. Shares
/// the database processor with its rules. One thread at a time, and one rules processor at a time
/// in the process: two would fill the same tables, page and folder. So from its first call until
/// it or the thread is gone, calls of rules processors on other threads return false, change
/// nothing, and leave the reason as their processor's GetLastDBError. Exports run on threads of
/// their own, which have ended when the call returns. Failures are traced and reported as false;
/// failing statements never stop those after them.
class NAXFEWXMLDB_EXPORT CRulesProcessor {
public:
    CRulesProcessor(const std::shared_ptr<CDBProcessor>& processor, const _bstr_t& resultText);
    virtual ~CRulesProcessor();
    CRulesProcessor(const CRulesProcessor&) = delete;
    CRulesProcessor& operator=(const CRulesProcessor&) = delete;

    /// Creates table `ValidationResults` anew and brings `Files` and `Rules` to the current
    /// columns.
    bool Initialize();
    /// Reads the rules (the built-in ones when the database processor uses resources, whatever
    /// the path) behind those already loaded, and stores all of them in table `Rules`. The result
    /// is whether the document could be loaded.
    bool LoadRules(const _bstr_t& rulesPath);
    std::vector<std::shared_ptr<IRule>> GetRules() const;
    /// Replaces the content of table `Rules`; the result is that of the last rule.
    bool ToTable();
    bool RuleToTable(const std::shared_ptr<IRule>& rule);
    /// Goes on with these rules, in this order, in place of the loaded ones. Table `Rules` stays as
    /// it is until ToTable.
    void SetRules(std::vector<std::shared_ptr<IRule>> rules);
    /// Appends a rule from elsewhere, whose texts are empty for the caller to fill before ToTable.
    ///
    /// Its body may read everything and insert into `ValidationResults` under the rule's own id,
    /// where it sees its own rows only; of these text, uuid and file are kept. It is stopped after
    /// `timeLimit` and bounded in memory, as the texts of all such rules' findings are, and must
    /// not be run inside a transaction. What is denied,
    /// stopped or fails becomes the rule's one result, a runtime error, in place of all its rows.
    std::shared_ptr<IRule> AddGuardedRule(std::chrono::milliseconds timeLimit);
    /// What keeps a guarded rule or export from running, one text a fault and statement: nothing
    /// is run, but each statement is prepared as when it runs. Empty also for rules not guarded.
    std::vector<std::string> CheckBody(const std::shared_ptr<IRule>& rule) const;
    /// Runs every rule, then every rule's PostRun. The result is that of the last rule's run,
    /// false without rules. Each call adds rows.
    bool Execute();
    /// Stores the schema findings; entries that passed are skipped. The result is that of the
    /// last row, false when there was none.
    bool PreProcess(const SchemaFindings& findings);

    /// Settles the result codes of rules and files, loads the export rules, runs ExecuteExport
    /// with the other five arguments and drops the columns that only the run needed. All steps
    /// are taken whatever their results; true when the codes were settled, the export rules could
    /// be loaded and the export succeeded.
    bool PostProcess(const _bstr_t& exportRulesPath, const _bstr_t& outputFolder, int exportMode,
                     int debugSwitch, int reserved, const _bstr_t& jsonFolder);
    /// Reads export rules (the built-in ones when the database processor uses resources, whatever
    /// the path) behind those already loaded. The result is whether the document could be loaded.
    bool LoadExportRules(const _bstr_t& exportRulesPath);
    std::vector<std::shared_ptr<IRule>> GetRulesExport() const;
    /// Goes on with these export rules, in this order, in place of the loaded ones.
    void SetRulesExport(std::vector<std::shared_ptr<IRule>> rules);
    /// Appends an export from elsewhere, whose texts are empty for the caller to fill. Its body may
    /// read everything and change nothing, and is stopped after `timeLimit`. Its `output` must be a
    /// name that IsExportFileName accepts. After a failed run, its field `reserved` says why.
    std::shared_ptr<IRule> AddGuardedExportRule(std::chrono::milliseconds timeLimit);
    /// Whether a guarded export may write a file of that name: letters, digits, "-", "_" and ".",
    /// no "." at the beginning, ".json" at the end.
    static bool IsExportFileName(const std::string& name);
    /// How many statements a body holds.
    static std::size_t CountStatements(const std::string& body);
    /// Runs every export rule on a thread of its own, then every rule's PostRun, which writes the
    /// report page with its style sheet, icon font and logo to `outputFolder`.
    ///
    /// `exportMode` 0 writes the JSON texts to files in `jsonFolder`, or beside the page when that
    /// is empty; 1 puts them into the page. With a `debugSwitch` other than 0 every exported
    /// statement also becomes a view "__Debug__<name of its output>". `reserved` is 0. An empty
    /// `outputFolder` means "Nax/LandscapeValidation" in the user's local application data when
    /// the database processor uses resources, else the user's application-data folder. Missing
    /// folders are created.
    ///
    /// The result is that of the export which ended last, false without export rules and when a
    /// file of the report could not be written.
    bool ExecuteExport(const _bstr_t& outputFolder, int exportMode, int debugSwitch, int reserved,
                       const _bstr_t& jsonFolder);
    /// Writes "Data_<date and time>_.xml" into the folder of the last export, or into the user's
    /// application-data folder when there was none. Values are written as they are, without
    /// escaping. Always true.
    bool GenerateReport();
    /// Page, style sheet, time stamp and folder of the report are made once per process, by the
    /// first export; every later export of any rules processor goes on with them. Call this before
    /// an export that shall have a report of its own, while no export is running.
    static void StartNewReport();
    /// The first file since then that could not be written, by any export or GenerateReport, and
    /// why; empty when all could be.
    static std::string GetReportFailure();

private:
    bool MayWork();
    bool ReadRules();
    std::shared_ptr<IRule> ReadRule(IXMLDOMNode* node) const;
    std::string GetAttribute(IXMLDOMNamedNodeMap* attributes, const _bstr_t& name) const;
    bool StartTransaction();
    bool FinalizeTransaction();
    void PreProcessingUpdates();
    bool ProcessXSDValidationMsgs(const SchemaFindings& findings);
    bool InsertSchemaFinding(const _bstr_t& uri, const SchemaFinding& finding);
    std::string GetFileIndex(const std::string& uri) const;
    bool PostProcessingUpdates(bool begin);
    bool DeriveResultCodes();
    bool TrimResults();
    bool ExecuteTraced(const std::string& sql);
    std::shared_ptr<IRule> ReadExportRule(IXMLDOMNode* node) const;
    bool RunExportRules(const SExportContext& context);
    void RunExportRule(IRule& rule, const SExportContext& context, std::atomic<bool>& result) const;
    bool PostRunExportRules();

    std::string m_resultText;
    std::string m_reportPagePath;
    std::string m_styleSheetPath;
    std::string m_summaryFolder;
    std::vector<std::shared_ptr<IRule>> m_rules;
    std::vector<std::shared_ptr<IRule>> m_exportRules;
    std::unique_ptr<CXmlDbDocument> m_rulesDocument;
    std::unique_ptr<CXmlDbDocument> m_exportDocument;
    std::shared_ptr<CDBProcessor> m_processor;
    std::unique_ptr<CThreadLimiter> m_exportThreads;
    std::shared_ptr<std::uint64_t> m_charactersLeft; ///< of the findings of guarded rules
};

} // namespace Nax::FrontEnd::XMLDB
