// SPDX-License-Identifier: Apache-2.0
// Loading and running of export rules.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/xml_document.h>

#include "platform/files.h"
#include "platform/known_folders.h"
#include "rules/export_rule.h"
#include "rules/page_summary.h"
#include "rules/report_files.h"
#include "rules/rule_elements.h"
#include "rules/thread_limiter.h"
#include "support/bstr_text.h"
#include "support/file_utils.h"
#include "support/trace.h"
#include "support/within_memory.h"
#include "xml/com_check.h"
#include "xml/resource_ids.h"

#include <atomic>
#include <exception>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CRulesProcessor";

/// Waits for the export threads also when starting one of them fails: they use the caller's frame.
class CJoinGuard {
public:
    explicit CJoinGuard(CThreadLimiter& threads) : m_threads(threads) {}
    CJoinGuard(const CJoinGuard&) = delete;
    CJoinGuard& operator=(const CJoinGuard&) = delete;
    ~CJoinGuard() { m_threads.JoinAll(); }

private:
    CThreadLimiter& m_threads;
};

} // namespace

void CRulesProcessor::StartNewReport() {
    CReportFiles::Shared().StartNew();
    Utils::CFUtils::ForgetFailure();
}

std::string CRulesProcessor::GetReportFailure() {
    return Utils::CFUtils::GetFailure();
}

std::vector<std::shared_ptr<IRule>> CRulesProcessor::GetRulesExport() const {
    return m_exportRules;
}

bool CRulesProcessor::LoadExportRules(const _bstr_t& exportRulesPath) try {
    if (m_processor == nullptr) {
        return false;
    }
    const bool loaded = m_processor->GetUseResources()
                            ? m_exportDocument->LoadXML(CXmlDbDocument::LoadInternalResource(
                                  kExportActionsResource, nullptr))
                            : m_exportDocument->Load(ToNarrow(exportRulesPath).c_str());
    NAX_TRACE(kClass, "Postprocess rules XML load: %d\n", static_cast<int>(loaded));
    const IXMLDOMElementPtr root = FindRoot(*m_exportDocument, L"Actions");
    if (!root) {
        NAX_TRACE_ERROR(kClass, "ValidationRules not found !\n");
        return loaded;
    }
    NAX_TRACE(kClass, "\n\n### START POSTPROCESS RULES READING...\n\n");
    for (const auto& [name, child] : ChildrenOf(root)) {
        NAX_TRACE(kClass, "Node name: '%s' !\n", ToNarrow(name).c_str());
        if (name == _bstr_t(L"JsonRequest")) {
            m_exportRules.push_back(ReadExportRule(child));
        }
    }
    NAX_TRACE(kClass, "\n\n### END RULES READING...\n\n");
    return loaded;
} catch (...) {
    return FailWithoutMemory();
}

std::shared_ptr<IRule> CRulesProcessor::ReadExportRule(IXMLDOMNode* node) const {
    IXMLDOMNamedNodeMapPtr attributes;
    NAX_CHECK(node->get_attributes(&attributes));
    const auto rule = std::make_shared<CExportRule>(m_processor, m_resultText);
    const auto read = [this, &attributes](const wchar_t* name) {
        return CStringA(GetAttribute(attributes, _bstr_t(name)).c_str());
    };
    rule->id = read(L"id");
    rule->name = read(L"name");
    rule->msg = read(L"msg");
    rule->body = read(L"body");
    rule->output = read(L"output");
    return rule;
}

bool CRulesProcessor::ExecuteExport(const _bstr_t& outputFolder, int exportMode, int debugSwitch,
                                    int reserved, const _bstr_t& jsonFolder) try {
    NAX_TRACE(kClass, "\n\n### EXPORT RULES EXECUTION STARTED...\n\n");
    if (!MayWork()) {
        return false;
    }
    SExportContext context;
    context.exportMode = exportMode;
    context.debugSwitch = debugSwitch;
    context.reserved = reserved;
    context.outputFolder = ToNarrow(outputFolder);
    context.jsonFolder = ToNarrow(jsonFolder);
    if (context.outputFolder.empty() && !m_processor->GetUseResources()) {
        context.outputFolder = GetKnownFolder(CSIDL_APPDATA);
    }
    m_styleSheetPath = JoinPath(context.outputFolder, kReportStyleSheetFile);
    m_reportPagePath = JoinPath(context.outputFolder, kReportPageFile);
    context.reportPagePath = m_reportPagePath;
    context.styleSheetPath = m_styleSheetPath;
    m_summaryFolder = CReportFiles::FolderFor(context.outputFolder);

    const bool exported = RunExportRules(context);
    const bool written = PostRunExportRules();
    NAX_TRACE(kClass, "\n\n### EXPORT RULES EXECUTION FINISHED\n\n");
    return exported && written;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::RunExportRules(const SExportContext& context) {
    // The rule whose run ends last has the word.
    std::atomic<bool> result = false;
    const CJoinGuard guard(*m_exportThreads);
    m_exportThreads->RaiseLimit(m_exportRules.size());
    for (const std::shared_ptr<IRule>& rule : m_exportRules) {
        m_exportThreads->Start(
            [this, &rule, &context, &result] { RunExportRule(*rule, context, result); });
    }
    m_exportThreads->JoinAll();
    return result;
}

void CRulesProcessor::RunExportRule(IRule& rule, const SExportContext& context,
                                    std::atomic<bool>& result) const {
    try {
        NAX_TRACE_AS(kClass, "ExecuteExport", "Running rule, id: %s...\n", rule.id.GetString());
        rule.Initialize();
        if (auto* exportRule = dynamic_cast<CExportRule*>(&rule)) {
            exportRule->SetContext(context);
        }
        result = rule.Run();
        rule.Finalize();
    } catch (const std::exception& exception) {
        // Nothing may leave the thread.
        NAX_TRACE_ERROR_AS(kClass, "ExecuteExport", "Export rule, id: %s: %s\n",
                           rule.id.GetString(), exception.what());
        result = false;
    }
}

bool CRulesProcessor::PostRunExportRules() {
    if (!CReportFiles::Shared().IsPageMade()) {
        CReportFiles::Shared().SetSummary(MakePageSummary(*m_processor, m_exportRules));
    }
    bool written = true;
    for (const std::shared_ptr<IRule>& rule : m_exportRules) {
        NAX_TRACE_AS(kClass, "ExecuteExport", "Post running rule, id: %s...\n",
                     rule->id.GetString());
        m_resultText = rule->PostRun().GetString();
        const auto* exportRule = dynamic_cast<const CExportRule*>(rule.get());
        written = written && (exportRule == nullptr || exportRule->IsReportWritten());
    }
    return written;
}

} // namespace Nax::FrontEnd::XMLDB
