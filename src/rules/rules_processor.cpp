// SPDX-License-Identifier: Apache-2.0
// Loading, storing and running of validation rules.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/xml_document.h>

#include "database/own_transaction.h"
#include "processor/database_claim.h"
#include "processor/error_blocks.h"
#include "rules/rule_elements.h"
#include "rules/sql_rule.h"
#include "rules/thread_limiter.h"
#include "support/bstr_text.h"
#include "support/format.h"
#include "support/trace.h"
#include "support/within_memory.h"
#include "xml/com_check.h"
#include "xml/resource_ids.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CRulesProcessor";
constexpr char kClaimed[] =
    "Another thread of this process runs the rules; one rules processor at a time can do so";
// Of the findings of guarded rules: 200,000 with 150 characters each, and 100 for each. A report
// takes some ten bytes of memory for every character.
constexpr std::uint64_t kMostCharacters = 50'000'000;

} // namespace

CRulesProcessor::CRulesProcessor(const std::shared_ptr<CDBProcessor>& processor,
                                 const _bstr_t& resultText)
    : m_resultText(ToNarrow(resultText)),
      m_rulesDocument(std::make_unique<CXmlDbDocument>()),
      m_exportDocument(std::make_unique<CXmlDbDocument>()),
      m_processor(processor),
      m_exportThreads(std::make_unique<CThreadLimiter>()),
      m_charactersLeft(std::make_shared<std::uint64_t>(kMostCharacters)) {
    NAX_TRACE(kClass, "CRulesProcessor created\n");
}

CRulesProcessor::~CRulesProcessor() {
    CDatabaseClaim::OfRules().Leave(this);
}

bool CRulesProcessor::MayWork() {
    if (m_processor == nullptr) {
        return false;
    }
    return CDatabaseClaim::OfRules().Take(this) || m_processor->Error(kRulesError, kClaimed, "");
}

bool CRulesProcessor::Initialize() try {
    if (!MayWork()) {
        return false;
    }
    const bool created = m_processor->Process(CreateResultsTable, std::wstringstream());
    PreProcessingUpdates();
    return created;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::LoadRules(const _bstr_t& rulesPath) try {
    if (!MayWork()) {
        return false;
    }
    Initialize();
    const bool loaded = m_processor->GetUseResources()
                            ? m_rulesDocument->LoadXML(
                                  CXmlDbDocument::LoadInternalResource(kRulesResource, nullptr))
                            : m_rulesDocument->Load(ToNarrow(rulesPath).c_str());
    NAX_TRACE(kClass, "Rules XML load: %d\n", static_cast<int>(loaded));
    if (!ReadRules()) {
        NAX_TRACE_ERROR(kClass, "ValidationRules not found !!!\n");
        return loaded;
    }
    if (ToTable()) {
        NAX_TRACE(kClass, "\n\n### RULES STORED TO DATABASE...\n\n");
    } else {
        NAX_TRACE_ERROR(kClass, "\n\n### ERROR RULES STORING IN DATABASE...\n\n");
    }
    return loaded;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::ReadRules() {
    const IXMLDOMElementPtr root = FindRoot(*m_rulesDocument, L"ValidationRules");
    if (!root) {
        return false;
    }
    NAX_TRACE_AS(kClass, "LoadRules", "\n\n### START RULES READING...\n\n");
    for (const auto& [name, child] : ChildrenOf(root)) {
        NAX_TRACE_AS(kClass, "LoadRules", "Node name: '%s' !\n", ToNarrow(name).c_str());
        if (name == _bstr_t(L"Rule")) {
            m_rules.push_back(ReadRule(child));
        }
    }
    NAX_TRACE_AS(kClass, "LoadRules", "\n\n### END RULES READING...\n\n");
    return true;
}

std::shared_ptr<IRule> CRulesProcessor::ReadRule(IXMLDOMNode* node) const {
    IXMLDOMNamedNodeMapPtr attributes;
    NAX_CHECK(node->get_attributes(&attributes));
    const auto rule = std::make_shared<CSqlRule>(m_processor);
    const auto read = [this, &attributes](const wchar_t* name) {
        return CStringA(GetAttribute(attributes, _bstr_t(name)).c_str());
    };
    rule->id = read(L"id");
    rule->name = read(L"name");
    rule->type = read(L"type");
    rule->msg = read(L"msg");
    rule->params = read(L"params");
    rule->lang = read(L"lang");
    rule->body = read(L"body");
    rule->solution = read(L"solution");
    return rule;
}

std::string CRulesProcessor::GetAttribute(IXMLDOMNamedNodeMap* attributes,
                                          const _bstr_t& name) const {
    IXMLDOMNodePtr node;
    NAX_CHECK(attributes->getNamedItem(name, &node));
    if (!node) {
        NAX_TRACE_ERROR(kClass, "Attribute: '%s' was not found !\n", ToNarrow(name).c_str());
        return {};
    }
    _bstr_t value;
    NAX_CHECK(node->get_text(value.GetAddress()));
    std::string text = ToNarrow(value);
    NAX_TRACE(kClass, "Attribute: '%s' : '%s'\n", ToNarrow(name).c_str(), text.c_str());
    return text;
}

std::vector<std::shared_ptr<IRule>> CRulesProcessor::GetRules() const {
    return m_rules;
}

bool CRulesProcessor::ToTable() try {
    if (!MayWork()) {
        return false;
    }
    bool result = m_processor->DB_ExecuteQuery("DELETE FROM RULES;");
    NAX_TRACE(kClass, "Rules table all records deleted: %d", static_cast<int>(result));
    for (const std::shared_ptr<IRule>& rule : m_rules) {
        result = RuleToTable(rule);
    }
    return result;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::RuleToTable(const std::shared_ptr<IRule>& rule) try {
    if (!MayWork() || rule == nullptr) {
        return false;
    }
    const auto safe = [this](const CStringA& text) { return m_processor->UpdateStr(text); };
    const std::string sql = Format(
        "INSERT INTO Rules (RuleId,Name,Type,Msg,Params,Lang,Body,Solution) VALUES "
        "('%s','%s','%s','%s','%s','%s','%s','%s')",
        safe(rule->id).GetString(), safe(rule->name).GetString(), safe(rule->type).GetString(),
        safe(rule->msg).GetString(), safe(rule->params).GetString(), safe(rule->lang).GetString(),
        safe(rule->body).GetString(), safe(rule->solution).GetString());
    const bool result = m_processor->DB_ExecuteQuery(sql.c_str());
    NAX_TRACE(kClass, "RuleToTable mapping: \n%s\nResult: %d", sql.c_str(),
              static_cast<int>(result));
    return result;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::Execute() try {
    NAX_TRACE(kClass, "\n\n### RULES EXECUTION STARTED...\n\n");
    if (!MayWork()) {
        return false;
    }
    bool result = false;
    *m_charactersLeft = kMostCharacters;
    for (const std::shared_ptr<IRule>& rule : m_rules) {
        rule->Initialize();
        result = rule->Run();
        rule->Finalize();
    }
    for (const std::shared_ptr<IRule>& rule : m_rules) {
        rule->PostRun();
    }
    NAX_TRACE(kClass, "\n\n### RULES EXECUTION FINISHED\n\n");
    return result;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::StartTransaction() {
    const std::shared_ptr<IDatabase> database = m_processor->GetDatabase();
    if (database == nullptr) {
        return false;
    }
    const bool started = database->BeginTransaction();
    NAX_TRACE(kClass, "StartTransaction : %d\n", static_cast<int>(started));
    return started;
}

bool CRulesProcessor::FinalizeTransaction() {
    const std::shared_ptr<IDatabase> database = m_processor->GetDatabase();
    const bool committed = database != nullptr && CommitOwnTransaction(*database);
    NAX_TRACE(kClass, "Commit : %d\n", static_cast<int>(committed));
    if (!committed && database != nullptr) {
        const bool rolledBack = database->Rollback();
        NAX_TRACE(kClass, "Rollback : %d\n", static_cast<int>(rolledBack));
    }
    return committed;
}

} // namespace Nax::FrontEnd::XMLDB
