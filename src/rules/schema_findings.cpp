// SPDX-License-Identifier: Apache-2.0
// What the engine does before results are exported: columns of older databases, schema findings.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/xml_document.h>

#include "rules/sql_rule.h"
#include "support/bstr_text.h"
#include "support/format.h"
#include "support/trace.h"
#include "support/within_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CRulesProcessor";

// Rule ids below 0 are reserved for findings that no rule made.
constexpr int kSchemaRuleId = -1;
// The row of `Files` that stands for "no file".
constexpr char kNoFileIndex[] = "-1";

constexpr const char* kColumnUpdates[] = {
    "ALTER TABLE Files RENAME COLUMN url to uri;",
    "ALTER TABLE Files ADD COLUMN ResultId TEXT;",
    "ALTER TABLE Rules ADD COLUMN ResultId TEXT;",
};

} // namespace

bool CRulesProcessor::PreProcess(const SchemaFindings& findings) try {
    if (!MayWork()) {
        return false;
    }
    const bool result = ProcessXSDValidationMsgs(findings);
    NAX_TRACE(kClass, "\n\n### INSERT XML to XSD VALIDATION RESULTS: %d\n\n",
              static_cast<int>(result));
    return result;
} catch (...) {
    return FailWithoutMemory();
}

bool CRulesProcessor::ProcessXSDValidationMsgs(const SchemaFindings& findings) {
    NAX_TRACE(kClass, "\n\n### INSERT XML to XSD VALIDATION RESULTS...\n\n");
    bool result = false;
    bool anyInserted = false;
    for (const auto& [uri, finding] : findings) {
        if (finding.second != ValidationAgainstXSDPassed) {
            result = InsertSchemaFinding(uri, finding);
            anyInserted = anyInserted || result;
        }
    }
    if (anyInserted) {
        const auto rule = std::make_shared<CSqlRule>(m_processor);
        rule->id = std::to_string(kSchemaRuleId).c_str();
        rule->name = "Validation against XSD";
        rule->type = "Warning";
        rule->lang = "XSD";
        RuleToTable(rule);
    }
    return result;
}

bool CRulesProcessor::InsertSchemaFinding(const _bstr_t& uri, const SchemaFinding& finding) {
    const TextProcessor& texts = m_processor->getTextProcessorRef();
    const std::string sql = Format(
        "INSERT INTO ValidationResults (RuleId,Name,Type,Msg,Lang,Body,ResultDescription,ResultId,"
        "file_id,RunTimeErrorTrace) VALUES "
        "('%d','%s','%s','%s','%s','%s','%s','%d','%s','%s')",
        kSchemaRuleId, "XML Schema(XSD) validation results", "Warning", "", "XSD", "",
        texts.EscapeSql(ToNarrow(finding.first)).c_str(), static_cast<int>(finding.second),
        GetFileIndex(ToNarrow(uri)).c_str(), "");
    NAX_TRACE_AS(kClass, "ProcessXSDValidationMsgs", "Executing query: \n%s\n", sql.c_str());
    const bool result = m_processor->DB_ExecuteQuery(sql.c_str());
    NAX_TRACE_AS(kClass, "ProcessXSDValidationMsgs", "Result: %d\n", static_cast<int>(result));
    if (!result) {
        NAX_TRACE_AS(kClass, "ProcessXSDValidationMsgs",
                     "Unable insert into ValidationResults. Query: \n%s\n", sql.c_str());
    }
    return result;
}

std::string CRulesProcessor::GetFileIndex(const std::string& uri) const {
    const std::string sql = Format("select indx from files where uri == '%s'",
                                   m_processor->getTextProcessorRef().EscapeSql(uri).c_str());
    std::shared_ptr<IRecordset> recordset;
    if (!m_processor->DB_ExecuteQuery(sql.c_str(), recordset) || !recordset->MoveNext()) {
        return kNoFileIndex;
    }
    return recordset->GetString("indx").GetString();
}

void CRulesProcessor::PreProcessingUpdates() {
    NAX_TRACE(kClass, "CRulesProcessor::PreProcessingUpdates: started\n");
    if (StartTransaction()) {
        for (const char* sql : kColumnUpdates) {
            const bool result = m_processor->DB_ExecuteQuery(sql);
            NAX_TRACE(kClass, "%s : %d\n", sql, static_cast<int>(result));
        }
        FinalizeTransaction();
    }
    NAX_TRACE(kClass, "CRulesProcessor::PreProcessingUpdates: finished\n");
}

} // namespace Nax::FrontEnd::XMLDB
