// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/platform/xml_dom.h>
#include <naxfewxmldb/result_codes.h>
#include <naxfewxmldb/rule.h>
#include <naxfewxmldb/text_types.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;
class CXmlDbDocument;

/// Outcome of one file's schema check: the validator's message and its result code.
using SchemaFinding = std::pair<_bstr_t, ResultCodes>;
/// Outcomes by the file's URI, as table `Files` holds it.
using SchemaFindings = std::map<_bstr_t, SchemaFinding>;

/// The rules engine: loads validation rules, runs them over a filled landscape database and
/// collects their findings in table `ValidationResults`.
///
/// Order of calls: construct, LoadRules, Execute, PreProcess. Shares the database processor with
/// its rules. One thread at a time. Failures are traced and reported as false; failing statements
/// never stop those after them.
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
    /// Runs every rule, then every rule's PostRun. The result is that of the last rule's run,
    /// false without rules. Each call adds rows.
    bool Execute();
    /// Stores the schema findings; entries that passed are skipped. The result is that of the
    /// last row, false when there was none.
    bool PreProcess(const SchemaFindings& findings);

private:
    bool ReadRules();
    std::shared_ptr<IRule> ReadRule(IXMLDOMNode* node) const;
    std::string GetAttribute(IXMLDOMNamedNodeMap* attributes, const _bstr_t& name) const;
    bool StartTransaction();
    bool FinalizeTransaction();
    void PreProcessingUpdates();
    bool ProcessXSDValidationMsgs(const SchemaFindings& findings);
    bool InsertSchemaFinding(const _bstr_t& uri, const SchemaFinding& finding);
    std::string GetFileIndex(const std::string& uri) const;

    std::string m_resultText;
    std::vector<std::shared_ptr<IRule>> m_rules;
    std::unique_ptr<CXmlDbDocument> m_rulesDocument;
    std::shared_ptr<CDBProcessor> m_processor;
};

} // namespace Nax::FrontEnd::XMLDB
