// SPDX-License-Identifier: Apache-2.0
// What the processor and the rules engine write at trace level 4, as support tools search for it.
#include "pattern.h"
#include "processor_fixture.h"
#include "support/trace.h"

#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/xml_document.h>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

/// Switches the trace on before anything asks for its level, which is settled once.
class CTraceFolder {
public:
    CTraceFolder()
        : m_level("NAXFEWXMLDB_TRACE_LEVEL", "4"),
          m_directory("NAXFEWXMLDB_TRACE_DIR", m_folder.Path().c_str()) {}

    std::string Text() const { return ReadAll(m_folder.File(GetTraceFileName())); }

private:
    CScratchFolder m_folder;
    CEnvironmentValue m_level;
    CEnvironmentValue m_directory;
};

const CTraceFolder traceFolder;

class CProcessorTraceTest : public CProcessorTest {
protected:
    CProcessorTraceTest() { Start(); }

    void Start() { m_start = traceFolder.Text().size(); }

    /// What was written since the start, with thread, object and source line taken out.
    std::string Written() const {
        const CPattern thread("TID: [0-9]+, Nax::FrontEnd::XMLDB::");
        const CPattern place("(\\[0x[0-9a-f]+\\])?/[0-9]+: ");
        return place.Replace(thread.Replace(traceFolder.Text().substr(m_start), ""), " ");
    }
    void ExpectLine(const std::string& line) const {
        EXPECT_NE(std::string::npos, Written().find(line + "\n")) << line << "\nin\n" << Written();
    }

private:
    std::size_t m_start = 0;
};

TEST_F(CProcessorTraceTest, LifecycleLines) {
    CDBProcessor processor(true, Transactional, "a.xsd", "b.xslt");
    ExpectLine(
        "CDBProcessor::CDBProcessor CDBProcessor created. Mode: 'DBMode::Transactional'\n"
        "xsdFile: a.xsd\nxsltFile: b.xslt");
    EXPECT_TRUE(Run(processor, createDB));
    ExpectLine("CDBProcessor::Process Operation: DBOperations::createDB, sdata: ''");
    ExpectLine("CDBProcessor::Initialize Database file name: " + DatabaseFile());
    ExpectLine("CDBProcessor::DB_CreateBackup DB_Backup: DB file: '" + DatabaseFile() +
               "', result: 0");
    ExpectLine("CDBProcessor::Initialize Connect: 1");
    ExpectLine("CDBProcessor::Initialize Switching database encoding to UTF-16 - OK");
    ExpectLine("CDBProcessor::DB_Create_Scheme MapToDDL: 1");
    ExpectLine("CDBProcessor::DB_Create_Scheme DB_Create_Scheme: 1");
    ExpectLine(
        "CDBProcessor::Process CDBProcessor::Process, operation: DBOperations::createDB, "
        "result: 1");
    const std::string text = Written();
    for (const char* failure : {"CopyFile", "DeleteFile"}) {
        EXPECT_TRUE(
            CPattern(std::string("\\*ERROR\\*\\*\\*: CDBProcessor::DB_CreateBackup DB_Backup: ") +
                     failure + " failed !!! last error: [0-9]+, [^\n]+\n")
                .Finds(text))
            << failure;
    }
    EXPECT_TRUE(Run(processor, Commit));
    ExpectLine("CDBProcessor::DB_Commit DB_Commit: BeginTransaction: 1");
    ExpectLine("CDBProcessor::DB_Commit DB_Commit: Commit transaction: 1");
    ExpectLine("CDBProcessor::DB_Post_Update DB_Post_Update: 1");
}

TEST_F(CProcessorTraceTest, OperationsAreNamedAndTheLastHasNoName) {
    const auto processor = NewDatabase(Normal);
    Start();
    EXPECT_TRUE(Run(*processor, CreateResultIdTable, "100 % ä"));
    ExpectLine("CDBProcessor::Process Operation: Unknown, sdata: '100 % ä'");
    ExpectLine("CDBProcessor::Process CDBProcessor::Process, operation: Unknown, result: 1");
    EXPECT_FALSE(Run(*processor, AddLinkTalbeRecord));
    ExpectLine(
        "CDBProcessor::Process CDBProcessor::Process, operation: "
        "DBOperations::AddLinkTalbeRecord, result: 0");
    EXPECT_TRUE(processor->Process(AddLinkTable, SLinkTableProperties("L", "a", "b", "1", "2")));
    EXPECT_NE(std::string::npos,
              Written().find("CDBProcessor::Process Operation: "
                             "DBOperations::AddLinkTable, linked_table_props:'"));
    ExpectLine("CDBProcessor::Process Result: 1");
}

TEST_F(CProcessorTraceTest, BoundInsertsLeaveTheLinesOfTheirText) {
    std::vector<std::string> traces;
    for (const char* value : {"'plain'", "trim('plain')"}) {
        const auto processor = NewDatabase(Transactional);
        EXPECT_TRUE(Run(*processor, AddRouter, RecordOf(*processor, "Router", {{"name", value}})));
        Start();
        EXPECT_TRUE(Run(*processor, Commit));
        ExpectLine(
            "CDBProcessor::DB_ExecuteQuery DB_ExecuteQuery: 'INSERT INTO Router "
            "(description,name,router,uuid,file_id) VALUES (NULL," +
            std::string(value) + ",NULL,NULL,'7')', result: 1");
        traces.push_back(CPattern("trim\\('plain'\\)").Replace(Written(), "'plain'"));
    }
    EXPECT_EQ(traces[0], traces[1]);
}

TEST_F(CProcessorTraceTest, FailuresAreErrorLines) {
    const auto processor = NewDatabase(Transactional);
    EXPECT_TRUE(Run(*processor, AddRouter, "{f_data:broken,"));
    Start();
    EXPECT_FALSE(processor->DB_ExecuteQuery("nonsense"));
    ExpectLine("***ERROR***: CDBProcessor::Error " + ErrorText("DB_ExecuteQuery", 257,
                                                               "Failed execute query : nonsense",
                                                               "near \"nonsense\": syntax error"));
    ExpectLine("***ERROR***: CDBProcessor::DB_ExecuteQuery DB_ExecuteQuery: 'nonsense', result: 0");
    std::shared_ptr<IRecordset> rows;
    EXPECT_FALSE(processor->DB_ExecuteQuery("nonsense", rows));
    ExpectLine(
        "***ERROR***: CDBProcessor::DB_ExecuteQuery DB_ExecuteQuery: nonsense, result: 0, "
        "pRecordset: 0");
    EXPECT_TRUE(processor->DB_ExecuteQuery("SELECT 1", rows));
    ExpectLine("CDBProcessor::DB_ExecuteQuery DB_ExecuteQuery: SELECT 1, result: 1, pRecordset: 1");
    EXPECT_FALSE(Run(*processor, Commit));
    ExpectLine(
        "***ERROR***: CDBProcessor::DB_Commit DB_Commit: failed to execute query: \n"
        "INSERT INTO Router (description,name,router,uuid,file_id) VALUES "
        "('','','','',broken)");
    EXPECT_FALSE(Run(*processor, Commit));
    ExpectLine("***ERROR***: CDBProcessor::DB_Commit DB_Commit: BeginTransaction failed");
}

TEST_F(CProcessorTraceTest, DocumentLines) {
    CXmlDbDocument document;
    ExpectLine("CXmlDbDocument::CXmlDbDocument CXmlDbDocument created'");
    const std::string frame = "<a>" + std::string(2000, 'x') + "</a>";
    for (const std::string& text : {std::string("<a>xyz</a>"), frame, std::string("<a>")}) {
        const bool loaded = document.LoadXML(text);
        ExpectLine("CXmlDbDocument::LoadXML LoadXML state: " + std::to_string(loaded ? 1 : 0) +
                   "'. XML starts with: \n" + text.substr(0, 512) + "\n... ");
    }
    const std::string missing = m_folder.File("missing.xml");
    EXPECT_FALSE(document.Load(missing.c_str()));
    ExpectLine("CXmlDbDocument::Load " + missing + " : load state: 0");
    EXPECT_FALSE(document.Error("\nblock\n", "message 100 %"));
    ExpectLine("***ERROR***: CXmlDbDocument::Error \nblock\nmessage 100 %\n\n===========\n");
    CXmlDbDocument::LoadInternalResource(999, nullptr);
    ExpectLine("CXmlDbDocument::LoadInternalResource Loading from resources by id: 999, result: 0");
    document.SetDocument(nullptr);
    EXPECT_FALSE(document.LoadXML("<a/>"));
    EXPECT_TRUE(CPattern("\\*ERROR\\*\\*\\*: CXmlDbDocument::Error \n===Error===\nFunction: "
                         "Nax::FrontEnd::XMLDB::CXmlDbDocument::LoadXML\nFile: xml_db_document, "
                         "Line: [0-9]+\nException _com_error:\nDescription: [^\n]*\n\n"
                         "===========\n")
                    .Finds(Written()))
        << Written();
}

TEST_F(CProcessorTraceTest, RuleRunLines) {
    const auto processor = NewLandscape();
    ASSERT_TRUE(Run(*processor, CreateRulesTable));
    CRulesProcessor rules(processor, "");
    EXPECT_TRUE(rules.LoadRules(""));
    EXPECT_TRUE(rules.Execute());
    for (const char* line :
         {"CRulesProcessor::CRulesProcessor CRulesProcessor created",
          "CRulesProcessor::PreProcessingUpdates ALTER TABLE Rules ADD COLUMN ResultId TEXT; : 1",
          "CRulesProcessor::FinalizeTransaction Commit : 1",
          "CRulesProcessor::LoadRules Rules XML load: 1",
          "CRulesProcessor::LoadRules Node name: '#comment' !",
          "CRulesProcessor::GetAttribute Attribute: 'id' : '32'",
          "CRulesProcessor::LoadRules \n\n### RULES STORED TO DATABASE...\n",
          "CRulesProcessor::Execute \n\n### RULES EXECUTION STARTED...\n",
          "CSqlRule::Run \n### RUNNING rule, id: 0",
          "CSqlRule::PreprocessQuery @ruleid was updated with: 0 ",
          "CSqlRule::PostRun Validation PASSED! Going to update ValidationResults.",
          "CSqlRule::PostRun \n### POSTRUN finished(id: 32)"}) {
        ExpectLine(line);
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
