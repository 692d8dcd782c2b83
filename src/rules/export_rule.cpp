// SPDX-License-Identifier: Apache-2.0
#include "rules/export_rule.h"

#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/rules_processor.h>

#include "rules/json_exporter.h"
#include "rules/report_files.h"
#include "support/format.h"
#include "support/trace.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CExportRule";
constexpr char kDebugPrefix[] = "__Debug__";

} // namespace

std::string SExportContext::GetJsonFolder() const {
    return jsonFolder.empty() ? CReportFiles::FolderFor(outputFolder) : jsonFolder;
}

CExportRule::CExportRule(const std::shared_ptr<CDBProcessor>& processor,
                         const std::string& resultText)
    : m_processor(processor), m_resultText(resultText) {
    NAX_TRACE(kClass, "CExportRule created\n");
}

CExportRule::~CExportRule() = default;

bool CExportRule::Initialize() {
    NAX_TRACE(kClass, "Initialize rule, id: %s\n", id.GetString());
    return true;
}

bool CExportRule::Finalize() {
    NAX_TRACE(kClass, "Finalize rule, id: %s\n", id.GetString());
    return true;
}

void CExportRule::SetContext(const SExportContext& context) {
    m_context = context;
    outputFolder = context.outputFolder.c_str();
    reportPagePath = context.reportPagePath.c_str();
    styleSheetPath = context.styleSheetPath.c_str();
}

void CExportRule::KeepJson(std::string json) {
    m_json = std::move(json);
}

CStringA CExportRule::PreprocessQuery(const CStringA& query) {
    return query;
}

std::vector<std::string> CExportRule::GetStatements(const std::string& body) {
    const TextProcessor texts;
    std::vector<std::string> statements = texts.Split(body, ';');
    std::erase_if(statements,
                  [&texts](const std::string& piece) { return texts.TrimLeft(piece).empty(); });
    return statements;
}

bool CExportRule::Run() {
    NAX_TRACE(kClass, "\n\n### RUNNING export rule, id: %s\n", id.GetString());
    m_json.clear();
    reserved.Empty();
    if (m_processor == nullptr) {
        return false;
    }
    if (IsGuarded()) {
        m_timeLeft = *m_timeLimit;
        if (!CRulesProcessor::IsExportFileName(output.GetString())) {
            reserved = "not allowed: the name of its output";
            return false;
        }
    }
    CJsonExporter exporter(m_processor, *this);
    const std::vector<std::string> statements = GetStatements(body.GetString());
    bool result = false;
    for (std::size_t index = 0; index < statements.size(); ++index) {
        if (output.Find(".") < 0) {
            NAX_TRACE_ERROR(kClass, "Invalid output JSON file name: '%s', export rule id: '%s'\n",
                            output.GetString(), id.GetString());
        }
        const std::string view = m_context.debugSwitch != 0 && !IsGuarded()
                                     ? kDebugPrefix + GetBaseName()
                                     : std::string();
        result = exporter.Export(statements[index], GetFileName(index, statements.size()), view);
    }
    return result;
}

std::string CExportRule::GetBaseName() const {
    const int dot = output.Find(".");
    return (dot < 0 ? output : output.Left(dot)).GetString();
}

std::string CExportRule::GetFileName(std::size_t index, std::size_t count) const {
    if (count == 1) {
        return output.GetString();
    }
    const std::string base = GetBaseName();
    return Format("%s_%d%s", base.c_str(), static_cast<int>(index),
                  output.GetString() + base.size());
}

CStringA CExportRule::PostRun() {
    SReportSource source;
    source.useResources = m_processor != nullptr && m_processor->GetUseResources();
    source.outputFolder = m_context.outputFolder;
    source.pagePath = m_context.reportPagePath;
    source.styleSheetPath = m_context.styleSheetPath;
    std::string folder;
    m_reportWritten = CReportFiles::Shared().Update(source, name.GetString(), m_json, folder);
    // The page has it now.
    m_json.clear();
    m_json.shrink_to_fit();
    NAX_TRACE(kClass, "\n\n### POSTRUN export rule, id: %s\n", id.GetString());
    return (folder.empty() ? m_resultText : folder).c_str();
}

} // namespace Nax::FrontEnd::XMLDB
