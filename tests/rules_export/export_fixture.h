// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "processor_fixture.h"

#include <naxfewxmldb/rules_processor.h>

#include <memory>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB::Testing {

/// One request of an actions document; the values go in as they are.
struct SRequest {
    std::string name;
    std::string body;
    std::string output;
};

std::string ActionsOf(const std::vector<SRequest>& requests);

/// A database with files and results, and folders for what is exported from it. Every test begins
/// with a new report.
class CExportTest : public CProcessorTest {
protected:
    CExportTest();

    /// The landscape's database with its result tables; schema, stylesheet and exports come from
    /// files when `useResources` is off.
    std::shared_ptr<CDBProcessor> NewResults(bool useResources = true);
    static void AddFile(CDBProcessor& processor, const std::string& index, const std::string& uri);
    static void AddRule(CDBProcessor& processor, const std::string& id, const std::string& name);
    /// `uuid` null gives NULL.
    static void AddResult(CDBProcessor& processor, const std::string& ruleId,
                          const std::string& code, const std::string& fileId, const char* uuid,
                          const std::string& description = "");
    /// Loads the requests from an actions file; needs a processor that does not use resources.
    std::unique_ptr<CRulesProcessor> NewExport(const std::shared_ptr<CDBProcessor>& processor,
                                               const std::vector<SRequest>& requests);

    /// What a script of the page gets from the literal that follows `variable`.
    static std::string ScriptValue(CDBProcessor& processor, const std::string& page,
                                   const std::string& variable);
    static std::string Quoted(const std::string& text);

    const std::string m_output = m_folder.File("out/report");
};

} // namespace Nax::FrontEnd::XMLDB::Testing
