// SPDX-License-Identifier: Apache-2.0
// What the engine does with the results of a run: codes of rules and files, exports, XML summary.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/rules_processor.h>

#include "platform/files.h"
#include "platform/known_folders.h"
#include "support/file_utils.h"
#include "support/format.h"
#include "support/local_time.h"
#include "support/trace.h"
#include "support/within_memory.h"

#include <sstream>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CRulesProcessor";

// Without them every rule and every file would read all results, and so would the exports. Both
// hold the code: of several codes of a rule or of a file the updates then meet the lowest first,
// which is the worst.
constexpr const char* kIndexes[] = {
    "CREATE INDEX IF NOT EXISTS ValidationResults_rule ON ValidationResults (RuleId, ResultId);",
    "CREATE INDEX IF NOT EXISTS ValidationResults_file ON ValidationResults (file_id, ResultId);",
};

constexpr char kRuleCodes[] =
    "update Rules set Resultid = (select case when ValidationResults.RuleId < 0 then"
    "                      (select ValidationResults.ResultId from ValidationResults where"
    " ValidationResults.RuleId == Rules.RuleId limit 1) else"
    "                      ValidationResults.ResultId end from ValidationResults where"
    " ValidationResults.RuleId == Rules.RuleId)";

constexpr char kFileCodes[] =
    "CREATE VIEW IF NOT EXISTS temp1 AS select distinct file_id, validationResults.resultid from "
    "ValidationResults where ValidationResults.ResultId not in (1, 4) OR "
    "ValidationResults.ResultId == 3;\n"
    "UPDATE Files SET ResultId = (SELECT resultid FROM temp1 WHERE files.indx == temp1.file_id) ;\n"
    "UPDATE Files SET ResultId = 1 WHERE ResultId IS NULL AND indx IS NOT -1;\n"
    "UPDATE Files SET ResultId = 0 WHERE indx IS -1;\n"
    "DROP VIEW IF EXISTS temp1;\n";

constexpr char kResultsWithoutFile[] =
    "update ValidationResults set file_id = -1 where resultid in('0', '2', '3') and (uuid is null "
    "or uuid == '') and (RuleId >= 0);\n";

constexpr const char* kBulkyColumns[] = {"Body", "RuntimeErrorTrace"};

} // namespace

bool CRulesProcessor::PostProcess(const _bstr_t& exportRulesPath, const _bstr_t& outputFolder,
                                  int exportMode, int debugSwitch, int reserved,
                                  const _bstr_t& jsonFolder) try {
    if (!MayWork()) {
        return false;
    }
    const bool begun = PostProcessingUpdates(true);
    NAX_TRACE(kClass, "PostProcessingUpdates begin: %d  \n", static_cast<int>(begun));
    const bool loaded = LoadExportRules(exportRulesPath);
    NAX_TRACE(kClass, "LoadExportRules: %d\n", static_cast<int>(loaded));
    const bool exported =
        ExecuteExport(outputFolder, exportMode, debugSwitch, reserved, jsonFolder);
    NAX_TRACE(kClass, "ExecuteExport: %d\n", static_cast<int>(exported));
    const bool ended = PostProcessingUpdates(false);
    NAX_TRACE(kClass, "PostProcessingUpdates end: %d\n", static_cast<int>(ended));
    return begun && loaded && exported;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::PostProcessingUpdates(bool begin) {
    NAX_TRACE(kClass, "CRulesProcessor::PostProcessingUpdates: started\n");
    const bool result = begin ? DeriveResultCodes() : TrimResults();
    NAX_TRACE(kClass, "CRulesProcessor::PostProcessingUpdates: finished. Result: %d\n",
              static_cast<int>(result));
    return result;
}

bool CRulesProcessor::DeriveResultCodes() {
    if (!StartTransaction()) {
        return false;
    }
    for (const char* sql : kIndexes) {
        ExecuteTraced(sql);
    }
    for (const char* sql : {kRuleCodes, kFileCodes, kResultsWithoutFile}) {
        ExecuteTraced(sql);
    }
    FinalizeTransaction();
    return true;
}

bool CRulesProcessor::TrimResults() {
    // A drop writes the whole table anew; together they log its old pages only once.
    const bool together = StartTransaction();
    bool result = false;
    for (const char* column : kBulkyColumns) {
        result = ExecuteTraced(Format("ALTER TABLE ValidationResults DROP COLUMN %s", column));
    }
    return (!together || FinalizeTransaction()) && result;
}

bool CRulesProcessor::ExecuteTraced(const std::string& sql) {
    const bool result = m_processor->DB_ExecuteQuery(sql.c_str());
    NAX_TRACE_AS(kClass, "PostProcessingUpdates", "%s : %d\n", sql.c_str(),
                 static_cast<int>(result));
    return result;
}

bool CRulesProcessor::GenerateReport() try {
    NAX_TRACE(kClass, "\n\n### GenerateReport\n");
    std::ostringstream report;
    report << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ReportData>\n";
    std::shared_ptr<IRecordset> rows;
    if (m_processor != nullptr &&
        m_processor->DB_ExecuteQuery("SELECT * FROM ValidationResults", rows)) {
        while (rows->MoveNext()) {
            report << "<Item ";
            for (const char* name : {"RuleId", "Result", "RunTimeErrorTrace"}) {
                report << name << " = \"" << rows->GetString(name).GetString() << "\" ";
            }
            report << "/>\n";
        }
    }
    report << "</ReportData>\n";
    const std::string folder =
        m_summaryFolder.empty() ? GetKnownFolder(CSIDL_APPDATA) : m_summaryFolder;
    CreateFolders(folder);
    Utils::CFUtils::ToFile(
        JoinPath(folder, "Data_" + FormatLocalTime("%d-%m-%Y %H-%M-%S") + "_.xml"), report.str());
    NAX_TRACE(kClass, "\n\n### GenerateReport finished.\n");
    return true;
} catch (...) {
    return FailWithoutMemory();
}

} // namespace Nax::FrontEnd::XMLDB
