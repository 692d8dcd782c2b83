// SPDX-License-Identifier: Apache-2.0
#include "rule_indexes.h"

#include <array>
#include <span>
#include <string>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

struct SIndex {
    const char* name;
    const char* table;
    const char* columns;
};

constexpr std::array kForRules = {
    // With the file, many rules need no look at the table, which is wide.
    SIndex{"RuleRun_Services_uuid", "Services", "uuid, file_id"},
    SIndex{"RuleRun_Items_uuid", "Items", "uuid, file_id"},
    SIndex{"RuleRun_Items_serviceid", "Items", "serviceid, file_id"},
    SIndex{"RuleRun_Files_uri", "Files", "uri"},
    // Each rule counts and then completes its own findings, whose texts make the table large.
    SIndex{"RuleRun_Results_rule", "ValidationResults", "RuleId"},
};

constexpr std::array kForLookUps = {
    SIndex{"RuleRun_Nodes_uuid", "Nodes", "uuid"},
    SIndex{"RuleRun_Workspaces_uuid", "Workspaces", "uuid"},
    SIndex{"RuleRun_Messageservers_uuid", "Messageservers", "uuid"},
    SIndex{"RuleRun_Routers_uuid", "Routers", "uuid"},
    SIndex{"RuleRun_Webdispatchers_uuid", "Webdispatchers", "uuid"},
    SIndex{"RuleRun_LDAPS_uuid", "LDAPS", "uuid"},
};

void Create(CDBProcessor& processor, std::span<const SIndex> indexes) {
    for (const SIndex& index : indexes) {
        const std::string sql = std::string("CREATE INDEX IF NOT EXISTS ") + index.name + " ON " +
                                index.table + "(" + index.columns + ")";
        processor.DB_ExecuteQuery(sql.c_str());
    }
}

void Drop(CDBProcessor& processor, std::span<const SIndex> indexes) {
    for (const SIndex& index : indexes) {
        processor.DB_ExecuteQuery((std::string("DROP INDEX IF EXISTS ") + index.name).c_str());
    }
}

} // namespace

CRuleIndexes::CRuleIndexes(CDBProcessor& processor) : m_processor(processor) {
    Create(processor, kForRules);
}

CRuleIndexes::~CRuleIndexes() {
    Drop(m_processor, kForRules);
    Drop(m_processor, kForLookUps);
}

void CRuleIndexes::AddForLookUps() {
    Create(m_processor, kForLookUps);
}

} // namespace LandscapeValidator
