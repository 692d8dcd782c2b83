// SPDX-License-Identifier: Apache-2.0
// Record and link-table operations of the processor.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include "processor/record_values.h"
#include "support/bstr_text.h"
#include "support/format.h"

#include <string_view>

namespace Nax::FrontEnd::XMLDB {

bool CDBProcessor::AddWorkspaceRecord(const char* recordText) {
    return DB_AddRecord("Workspace", recordText);
}

bool CDBProcessor::AddMessageServerRecord(const char* recordText) {
    return DB_AddRecord("Messageserver", recordText);
}

bool CDBProcessor::AddRouterRecord(const char* recordText) {
    return DB_AddRecord("Router", recordText);
}

bool CDBProcessor::AddWebDispatcherRecord(const char* recordText) {
    return DB_AddRecord("Webdispatcher", recordText);
}

bool CDBProcessor::AddNodeRecord(const char* recordText) {
    return DB_AddRecord("Node", recordText);
}

bool CDBProcessor::AddLDAPRecord(const char* recordText) {
    return DB_AddRecord("LDAP", recordText);
}

bool CDBProcessor::AddServiceRecord(const char* recordText) {
    return DB_AddRecord("Service", recordText);
}

bool CDBProcessor::AddParameterRecord(const char* recordText) {
    return DB_AddRecord("Parameter", recordText);
}

// The element that names an included file; its table becomes `Files` at the commit.
bool CDBProcessor::AddServerConfigurationFileRecord(const char* recordText) {
    return DB_AddRecord("Include", recordText);
}

bool CDBProcessor::AddItem(const char* recordText) {
    return DB_AddRecord("Item", recordText);
}

bool CDBProcessor::DB_AddRecord(const char* tableName, const char* recordText) {
    if (m_mapper == nullptr) {
        return false;
    }
    const CQueryBuilder& queryBuilder = m_mapper->GetQueryBuilder();
    const std::vector<std::string>& columns = queryBuilder.GetColumns(tableName);
    std::string& prefix = m_insertPrefixes[tableName];
    if (prefix.empty()) {
        prefix = queryBuilder.FormatInsertPrefix(tableName);
    }
    std::string_view values = recordText;
    values.remove_prefix(values.empty() ? 0 : 1);
    values.remove_suffix(values.empty() ? 0 : 1);
    std::string sql = prefix;
    sql.append("(").append(MakeValueList(values, columns)).append(")");
    return DB_AddQuery(sql.c_str());
}

bool CDBProcessor::DB_AddQuery(const char* sql) {
    if (m_mode != Transactional) {
        return DB_ExecuteQuery(sql);
    }
    m_pendingQueries.Append(sql);
    return true;
}

bool CDBProcessor::CreateLinksTableDDL(const SLinkTableProperties& properties) {
    const std::string sql = Format(
        "CREATE TABLE \"%s\" ( \"link_id\" INTEGER, \"%s\" TEXT, \"%s\" TEXT, "
        "PRIMARY KEY(\"link_id\"))",
        ToNarrow(properties.tableName).c_str(), ToNarrow(properties.firstColumn).c_str(),
        ToNarrow(properties.secondColumn).c_str());
    return DB_AddQuery(sql.c_str());
}

bool CDBProcessor::DB_AddRecordLinkTable(const SLinkTableProperties& properties) {
    const std::string sql =
        Format("INSERT INTO \"%s\" (%s, %s) VALUES (\"%s\", \"%s\")",
               ToNarrow(properties.tableName).c_str(), ToNarrow(properties.firstColumn).c_str(),
               ToNarrow(properties.secondColumn).c_str(), ToNarrow(properties.firstValue).c_str(),
               ToNarrow(properties.secondValue).c_str());
    return DB_AddQuery(sql.c_str());
}

CStringA CDBProcessor::UpdateStr(const char* text) {
    return {m_textProcessor.ReplaceAll(text == nullptr ? "" : text, {{"'", ""}}).c_str()};
}

} // namespace Nax::FrontEnd::XMLDB
