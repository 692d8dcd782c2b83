// SPDX-License-Identifier: Apache-2.0
#include "export_fixture.h"

namespace Nax::FrontEnd::XMLDB::Testing {

std::string ActionsOf(const std::vector<SRequest>& requests) {
    const TextProcessor texts;
    std::string xml = "<Actions><!-- exports --><Other/>";
    int id = 0;
    for (const SRequest& request : requests) {
        xml += "<JsonRequest id=\"" + std::to_string(++id) + "\" name=\"" +
               texts.EscapeXml(request.name) + "\" msg=\"\" body=\"" +
               texts.EscapeXml(request.body) + "\" output=\"" + texts.EscapeXml(request.output) +
               "\"/>";
    }
    return xml + "</Actions>";
}

CExportTest::CExportTest() {
    CRulesProcessor::StartNewReport();
}

std::string CExportTest::Quoted(const std::string& text) {
    return "'" + TextProcessor().EscapeSql(text) + "'";
}

std::shared_ptr<CDBProcessor> CExportTest::NewResults(bool useResources) {
    auto processor =
        std::make_shared<CDBProcessor>(useResources, Normal, RESOURCES_FOLDER "/landscape.xsd",
                                       RESOURCES_FOLDER "/xsd_to_ddl.xslt");
    EXPECT_TRUE(Run(*processor, createDB)) << processor->GetLastDBError();
    EXPECT_TRUE(Run(*processor, Commit));
    EXPECT_TRUE(Run(*processor, CreateRulesTable));
    EXPECT_TRUE(CRulesProcessor(processor, _bstr_t()).Initialize());
    AddFile(*processor, "-1", "No explicit files information");
    return processor;
}

void CExportTest::AddFile(CDBProcessor& processor, const std::string& index,
                          const std::string& uri) {
    // The loader leaves the code out.
    const std::string sql = "INSERT INTO Files (indx, uri, ResultId) VALUES (" + Quoted(index) +
                            "," + Quoted(uri) + ", NULL)";
    EXPECT_TRUE(processor.DB_ExecuteQuery(sql.c_str())) << processor.GetLastDBError();
}

void CExportTest::AddRule(CDBProcessor& processor, const std::string& id, const std::string& name) {
    const std::string sql =
        "INSERT INTO Rules (RuleId, Name) VALUES (" + Quoted(id) + "," + Quoted(name) + ")";
    EXPECT_TRUE(processor.DB_ExecuteQuery(sql.c_str())) << processor.GetLastDBError();
}

void CExportTest::AddResult(CDBProcessor& processor, const std::string& ruleId,
                            const std::string& code, const std::string& fileId, const char* uuid,
                            const std::string& description) {
    const std::string sql =
        "INSERT INTO ValidationResults (RuleId, ResultId, file_id, UUID, ResultDescription, Body, "
        "RunTimeErrorTrace) VALUES (" +
        Quoted(ruleId) + "," + Quoted(code) + "," + Quoted(fileId) + "," +
        (uuid == nullptr ? "NULL" : Quoted(uuid)) + "," + Quoted(description) + ",'body','trace')";
    EXPECT_TRUE(processor.DB_ExecuteQuery(sql.c_str())) << processor.GetLastDBError();
}

std::unique_ptr<CRulesProcessor> CExportTest::NewExport(
    const std::shared_ptr<CDBProcessor>& processor, const std::vector<SRequest>& requests) {
    auto rules = std::make_unique<CRulesProcessor>(processor, _bstr_t());
    EXPECT_TRUE(rules->LoadExportRules(m_folder.Write("actions.xml", ActionsOf(requests)).c_str()));
    EXPECT_EQ(rules->GetRulesExport().size(), requests.size());
    return rules;
}

std::string CExportTest::ScriptValue(CDBProcessor& processor, const std::string& page,
                                     const std::string& variable) {
    const std::size_t begin = page.find(variable + "\"");
    if (begin == std::string::npos) {
        ADD_FAILURE() << variable;
        return {};
    }
    const std::size_t first = begin + variable.size();
    std::size_t end = first + 1;
    while (end < page.size() && page[end] != '"') {
        end += page[end] == '\\' ? 2 : 1;
    }
    // Every literal that the library writes is a JSON text as well.
    const std::string literal = page.substr(first, end + 1 - first);
    const Rows rows = Query(processor, "SELECT json_extract(" + Quoted(literal) + ", '$')");
    return rows.empty() ? "" : rows.front();
}

} // namespace Nax::FrontEnd::XMLDB::Testing
