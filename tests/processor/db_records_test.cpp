// SPDX-License-Identifier: Apache-2.0
#include "processor_fixture.h"

namespace Nax::FrontEnd::XMLDB::Testing {
namespace {

using CDBRecordsTest = CProcessorTest;

constexpr struct {
    DBOperations operation;
    const char* table;
    const char* plural;
} kRecords[] = {
    {AddWorkspace, "Workspace", "Workspaces"},
    {AddMessageServer, "Messageserver", "Messageservers"},
    {AddRouter, "Router", "Routers"},
    {AddWebDispatcher, "Webdispatcher", "Webdispatchers"},
    {AddNode, "Node", "Nodes"},
    {AddLDAP, "LDAP", "LDAPS"},
    {AddService, "Service", "Services"},
    {AddParameter, "Parameter", "Parameters"},
    {DBOperations::AddItem, "Item", "Items"},
    {AddServerConfigurationFile, "Include", "Files"},
};

TEST_F(CDBRecordsTest, EveryOperationFillsItsOwnTable) {
    for (const DBMode mode : {Normal, Transactional}) {
        const auto processor = NewDatabase(mode);
        for (const auto& record : kRecords) {
            const std::string key = std::string(record.table) == "Parameter" ? "key" : "name";
            const std::string column = std::string(record.table) == "Item" ? "uuid" : key;
            for (const char* value : {"'one; ''two'''", "'three\nlines'", "NULL", "5"}) {
                EXPECT_TRUE(Run(*processor, record.operation,
                                RecordOf(*processor, record.table, {{column, value}})))
                    << processor->GetLastDBError();
            }
        }
        EXPECT_TRUE(Run(*processor, Commit)) << processor->GetLastDBError();
        for (const auto& record : kRecords) {
            const std::string table = record.table;
            const std::string column = table == "Item"        ? "uuid"
                                       : table == "Parameter" ? "key"
                                                              : "name";
            const std::string file = table == "Include" ? "" : ", file_id";
            Rows expected = {"1|one; 'two'", "2|three\nlines", "3|<null>", "4|5"};
            for (std::string& row : expected) {
                row += table == "Include" ? "" : "|7";
            }
            EXPECT_EQ(expected, Query(*processor, "SELECT " + table + "_id, " + column + file +
                                                      " FROM " + record.plural))
                << record.plural;
        }
        EXPECT_EQ(Rows{"0"}, Query(*processor, "SELECT count(*) FROM Memos"));
    }
}

TEST_F(CDBRecordsTest, TextContentReachesTheColumnWithoutAName) {
    const auto processor = NewDatabase(Normal);
    EXPECT_TRUE(Run(*processor, AddService,
                    RecordOf(*processor, "Service", {{"", "'memo'"}, {"uuid", "'u'"}})));
    EXPECT_EQ(Rows{"memo|u|<null>"}, Query(*processor, "SELECT \"\", uuid, trans FROM Service"));
}

TEST_F(CDBRecordsTest, LeftOutColumnsBecomeEmptyTextsInFront) {
    const auto processor = NewDatabase(Normal);
    const struct {
        const char* text;
        bool done;
        const char* row;
    } cases[] = {
        // description, name, router, uuid, file_id
        {"{f_data:f_description:'d',f_name:'n',f_router:'r',f_uuid:'u','7',", true, "d|n|r|u|7"},
        {"{f_data:f_router:'r',f_uuid:'u','7',", true, "||r|u|7"},
        {"{f_data:f_uuid:'u',f_description:'d',f_router:'r',f_name:'n','7',", true, "u|d|r|n|7"},
        {"xf_router:'r'y", true, "||||r"},
        // A marker inside a value is one as well: the list then lacks a column.
        {"{f_data:f_name:'f_uuid:x','7',", false, ""},
        {"{f_data:f_name:'zwölf','7'}", true, "|||zwölf|7"},
        {"{f_data:f_name:'n',f_file_id:'7',", false, ""},
        {"{f_data:'7',", true, "||||7"},
        {"{", false, ""},
        {"", false, ""},
    };
    for (const auto& item : cases) {
        ASSERT_TRUE(processor->DB_ExecuteQuery("DELETE FROM Router"));
        EXPECT_EQ(item.done, Run(*processor, AddRouter, item.text)) << item.text;
        EXPECT_EQ(item.done ? Rows{item.row} : Rows{},
                  Query(*processor, "SELECT description, name, router, uuid, file_id FROM Router"))
            << item.text;
    }
}

TEST_F(CDBRecordsTest, FailingRecordShowsAtOnceOrAtTheCommit) {
    const std::string broken = "{f_data:nonsense here,";
    const std::string message =
        "Failed execute query : INSERT INTO Node (description,expanded,hidden,name,timestamp,uuid,"
        "file_id,parent_id) VALUES ('','','','','','','',nonsense here)";
    for (const DBMode mode : {Normal, Transactional}) {
        const auto processor = NewDatabase(mode);
        EXPECT_EQ(mode == Transactional, Run(*processor, AddNode, broken));
        EXPECT_EQ(mode == Normal, Run(*processor, Commit));
    }
    const auto processor = NewDatabase(Normal);
    EXPECT_FALSE(Run(*processor, AddNode, broken));
    EXPECT_EQ(ErrorText("DB_ExecuteQuery", 257, message, "near \"here\": syntax error"),
              processor->GetLastDBError());
}

TEST_F(CDBRecordsTest, TableWithoutSchemaIsAFailureAndNoException) {
    const auto processor = NewProcessor(Normal);
    ASSERT_TRUE(Run(*processor, openDB));
    for (const auto& record : kRecords) {
        EXPECT_FALSE(Run(*processor, record.operation, "{f_data:'x',")) << record.table;
        EXPECT_NE(std::string::npos, processor->GetLastDBError().find("invalid map<K, T> key"))
            << processor->GetLastDBError();
    }
}

TEST_F(CDBRecordsTest, RecordsAfterTheCommitMissTheirTable) {
    const auto processor = NewDatabase(Transactional);
    EXPECT_TRUE(Run(*processor, Commit));
    EXPECT_FALSE(Run(*processor, AddRouter, RecordOf(*processor, "Router", {})));
    EXPECT_NE(std::string::npos, processor->GetLastDBError().find("no such table: Router"));
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Testing
