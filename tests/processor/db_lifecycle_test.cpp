// SPDX-License-Identifier: Apache-2.0
#include "processor_fixture.h"

#include <naxfewxmldb/xml_document.h>
#include <naxfewxmldb/xml_xsd_validator.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>
#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <iomanip>

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

class CDBLifecycleTest : public CProcessorTest {
protected:
    Rows Backups() const {
        Rows names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
            const std::string name = entry.path().filename().string();
            if (name.ends_with(".bak")) {
                names.push_back(name);
            }
        }
        return names;
    }
};

TEST_F(CDBLifecycleTest, NewProcessorHoldsItsNamesAndAClosedConnection) {
    const CDBProcessor unnamed(true, Normal, _bstr_t(), _bstr_t());
    EXPECT_EQ("", unnamed.GetXsdFile());
    EXPECT_EQ("", unnamed.GetXsltFile());
    const CDBProcessor named(true, Transactional, "schema.xsd", L"sheet.xslt");
    EXPECT_EQ("schema.xsd", named.GetXsdFile());
    EXPECT_EQ("sheet.xslt", named.GetXsltFile());
    EXPECT_EQ(Transactional, named.GetMode());
    EXPECT_TRUE(named.GetUseResources());
    EXPECT_EQ("", named.GetLastDBError());
    EXPECT_FALSE(named.GetDatabase()->IsConnected());
    EXPECT_TRUE(named.GetValidator()->GetFlag());
}

TEST_F(CDBLifecycleTest, SchemaIsGivenUnderBothNamesUntilTheEnd) {
    const auto processor = NewProcessor(Normal);
    const std::string xsd = static_cast<const char*>(processor->GetXsd());
    EXPECT_NE(std::string::npos, xsd.find("<xs:element name=\"Landscape\">"));
    EXPECT_EQ(xsd, static_cast<const char*>(processor->GetXslt()));
    processor->UnInitialize();
    EXPECT_STREQ(L"", processor->GetXsd());
    EXPECT_STREQ(L"", processor->GetXslt());
    EXPECT_EQ(nullptr, processor->GetDatabase());
    EXPECT_EQ(nullptr, processor->GetMapper());
    EXPECT_EQ(nullptr, processor->GetValidator());
    processor->UnInitialize();
    EXPECT_FALSE(processor->Initialize(false));
    EXPECT_FALSE(processor->DB_ExecuteQuery("SELECT 1"));
    EXPECT_FALSE(Run(*processor, createDB));
}

TEST_F(CDBLifecycleTest, FirstInitialisationWithBackupSucceedsWithoutAFile) {
    const auto processor = NewProcessor(Normal);
    EXPECT_TRUE(processor->Initialize(true));
    EXPECT_EQ(DatabaseFile(), processor->GetDatabaseFileName());
    EXPECT_EQ(DatabaseFile(), CDBProcessor::m_dbName);
    EXPECT_EQ(Rows{"UTF-16le"}, Query(*processor, "PRAGMA encoding"));
    EXPECT_EQ(Rows{}, Backups());
}

TEST_F(CDBLifecycleTest, CreationMovesTheFileToADatedBackup) {
    NewDatabase(Normal)->DB_ExecuteQuery("CREATE TABLE kept (a)");
    const auto before = std::chrono::system_clock::now();
    const auto processor = NewDatabase(Normal);
    const auto after = std::chrono::system_clock::now();
    EXPECT_EQ(Rows{}, Query(*processor, "SELECT name FROM sqlite_master WHERE name = 'kept'"));

    ASSERT_EQ(1U, Backups().size());
    const std::string name = Backups().front();
    const std::string head = "UILandscape.db_";
    constexpr char format[] = "%d-%m-%Y %H-%M-%S";
    std::tm local = {};
    std::istringstream(name.substr(std::min(head.size(), name.size()))) >>
        std::get_time(&local, format);
    local.tm_isdst = -1;
    std::ostringstream expected;
    expected << head << std::put_time(&local, format) << "_.bak";
    ASSERT_EQ(expected.str(), name);
    const auto stamp = std::chrono::system_clock::from_time_t(std::mktime(&local));
    EXPECT_GE(stamp, before - std::chrono::seconds(1));
    EXPECT_LE(stamp, after);
    std::filesystem::rename(m_folder.File(name), m_folder.File("copy.db"));
    ASSERT_TRUE(
        processor->DB_ExecuteQuery(("ATTACH '" + m_folder.File("copy.db") + "' AS copy").c_str()));
    EXPECT_EQ(Rows{"kept"},
              Query(*processor, "SELECT name FROM copy.sqlite_master WHERE name = 'kept'"));
}

TEST_F(CDBLifecycleTest, OpeningKeepsTheFileAndMakesNoBackup) {
    NewDatabase(Normal)->DB_ExecuteQuery("CREATE TABLE kept (a)");
    const auto processor = NewProcessor(Normal);
    EXPECT_TRUE(Run(*processor, openDB));
    EXPECT_EQ(Rows{"kept"},
              Query(*processor, "SELECT name FROM sqlite_master WHERE name = 'kept'"));
    EXPECT_EQ(Rows{}, Backups());
}

TEST_F(CDBLifecycleTest, OpeningFailsWithItsErrorBlock) {
    std::filesystem::create_directories(DatabaseFile());
    const auto processor = NewProcessor(Normal);
    for (const DBOperations operation : {openDB, createDB}) {
        EXPECT_FALSE(Run(*processor, operation));
        EXPECT_EQ(ErrorText("Initialize", 56, "Failed to open database",
                            "unable to open database file (Is a directory)"),
                  processor->GetLastDBError());
    }
}

TEST_F(CDBLifecycleTest, ForeignFileOpensThoughItRejectsTheEncoding) {
    m_folder.Write("UILandscape.db", std::string(4096, 'x'));
    const auto processor = NewProcessor(Normal);
    EXPECT_TRUE(processor->Initialize(false));
    EXPECT_FALSE(processor->DB_ExecuteQuery("SELECT * FROM sqlite_master"));
    EXPECT_EQ(
        ErrorText("DB_ExecuteQuery", 257, "Failed execute query : SELECT * FROM sqlite_master",
                  "file is not a database"),
        processor->GetLastDBError());
}

TEST_F(CDBLifecycleTest, EndCommitsAnOpenTransaction) {
    for (const bool destroyed : {false, true}) {
        auto processor = NewDatabase(Normal);
        ASSERT_TRUE(processor->GetDatabase()->BeginTransaction());
        ASSERT_TRUE(processor->DB_ExecuteQuery("CREATE TABLE kept (a)"));
        if (destroyed) {
            processor.reset();
        } else {
            processor->UnInitialize();
        }
        const auto again = NewProcessor(Normal);
        ASSERT_TRUE(Run(*again, openDB));
        EXPECT_EQ(Rows{"kept"}, Query(*again, "SELECT name FROM sqlite_master WHERE name='kept'"))
            << destroyed;
    }
}

TEST_F(CDBLifecycleTest, CopiesShareTheConnectionAndOwnTheirQueueAndTexts) {
    const auto processor = NewDatabase(Transactional);
    {
        CDBProcessor copy(*processor);
        EXPECT_EQ(processor->GetDatabase(), copy.GetDatabase());
        EXPECT_EQ(processor->GetMapper(), copy.GetMapper());
        EXPECT_EQ(processor->GetValidator(), copy.GetValidator());
        EXPECT_FALSE(copy.DB_ExecuteQuery("nonsense"));
        EXPECT_EQ("", processor->GetLastDBError());
        EXPECT_NE("", copy.GetLastDBError());
        EXPECT_TRUE(Run(copy, Commit)) << "the queue with the schema came along";
        EXPECT_EQ(Normal, copy.GetMode());
        EXPECT_EQ(Transactional, processor->GetMode());
        EXPECT_EQ(Rows{"Services"},
                  Query(*processor, "SELECT name FROM sqlite_master WHERE name = 'Services'"));
        CDBProcessor assigned(true, Normal, "a", "b");
        assigned = *processor;
        EXPECT_EQ(Transactional, assigned.GetMode());
        EXPECT_EQ("", assigned.GetXsdFile());
    }
    EXPECT_FALSE(processor->GetDatabase()->IsConnected()) << "closed by the first that ends";
}

TEST_F(CDBLifecycleTest, GetFileReadsAWholeFile) {
    const std::string path = m_folder.Write("memo.txt", "first\r\nzwölf\n");
    EXPECT_STREQ(L"first\r\nzw\u00f6lf\n", CDBProcessor::GetFile(path.c_str()));
    EXPECT_EQ(0U, CDBProcessor::GetFile(m_folder.File("missing").c_str()).length());
}

TEST_F(CDBLifecycleTest, NamedSchemaFilesMakeTheTables) {
    const std::string xsd =
        m_folder.Write("own.xsd",
                       "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                       "<xs:element name='Thing'><xs:complexType><xs:attribute name='a' "
                       "type='xs:string'/></xs:complexType></xs:element></xs:schema>");
    const std::string xslt =
        m_folder.Write("own.xslt", CXmlDbDocument::LoadInternalResource(101, nullptr));
    CDBProcessor processor(false, Normal, xsd.c_str(), xslt.c_str());
    EXPECT_TRUE(Run(processor, createDB)) << processor.GetLastDBError();
    EXPECT_EQ(Rows{"Thing"}, NamesOf(*processor.GetDatabase(), "table"));

    CDBProcessor failing(false, Transactional, xsd.c_str(), m_folder.File("missing").c_str());
    EXPECT_FALSE(Run(failing, createDB)) << "without a stylesheet nothing is mapped";
    EXPECT_EQ(Rows{}, NamesOf(*failing.GetDatabase(), "table"));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
