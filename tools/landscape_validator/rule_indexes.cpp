// SPDX-License-Identifier: Apache-2.0
#include "rule_indexes.h"

#include <array>
#include <string>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

struct SIndexedColumn {
    const char* table;
    const char* column;
};

constexpr std::array kColumns = {
    SIndexedColumn{"Services", "uuid"},   SIndexedColumn{"Items", "uuid"},
    SIndexedColumn{"Items", "serviceid"}, SIndexedColumn{"Nodes", "uuid"},
    SIndexedColumn{"Workspaces", "uuid"}, SIndexedColumn{"Messageservers", "uuid"},
    SIndexedColumn{"Routers", "uuid"},    SIndexedColumn{"Webdispatchers", "uuid"},
    SIndexedColumn{"LDAPS", "uuid"},      SIndexedColumn{"Files", "uri"},
};

std::string IndexName(const SIndexedColumn& column) {
    return std::string("RuleRun_") + column.table + "_" + column.column;
}

} // namespace

CRuleIndexes::CRuleIndexes(CDBProcessor& processor) : m_processor(processor) {
    for (const SIndexedColumn& column : kColumns) {
        const std::string sql = "CREATE INDEX IF NOT EXISTS " + IndexName(column) + " ON " +
                                column.table + "(" + column.column + ")";
        m_processor.DB_ExecuteQuery(sql.c_str());
    }
}

CRuleIndexes::~CRuleIndexes() {
    for (const SIndexedColumn& column : kColumns) {
        m_processor.DB_ExecuteQuery(("DROP INDEX IF EXISTS " + IndexName(column)).c_str());
    }
}

} // namespace LandscapeValidator
