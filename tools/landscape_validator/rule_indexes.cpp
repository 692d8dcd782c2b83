// SPDX-License-Identifier: Apache-2.0
#include "rule_indexes.h"

#include <array>
#include <cstddef>
#include <memory>
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

/// Settings under which SQLite sorts the keys of large tables quickest: in runs that fit the
/// processor's cache, on threads of their own, merged through a file. Kept in memory, all keys
/// would be one list. For its lifetime; the cache is of little use while a table is read once
/// through.
class CSortSettings {
public:
    explicit CSortSettings(CDBProcessor& processor) : m_processor(processor) {
        for (std::size_t index = 0; index < kSettings.size(); ++index) {
            std::shared_ptr<IRecordset> row;
            if (processor.DB_ExecuteQuery(Pragma(index, "").c_str(), row) && row->MoveNext()) {
                m_earlier[index] = row->GetString(0).GetString();
            }
            row.reset();
            Set(index, kSettings[index].value);
        }
    }
    CSortSettings(const CSortSettings&) = delete;
    CSortSettings& operator=(const CSortSettings&) = delete;
    ~CSortSettings() {
        for (std::size_t index = 0; index < kSettings.size(); ++index) {
            Set(index, m_earlier[index]);
        }
    }

private:
    struct SSetting {
        const char* name;
        const char* value;
    };
    static constexpr std::array kSettings = {
        SSetting{"temp_store", "FILE"}, SSetting{"cache_size", "-16384"}, SSetting{"threads", "1"}};

    static std::string Pragma(std::size_t index, const std::string& end) {
        return std::string("PRAGMA ") + kSettings[index].name + end;
    }
    void Set(std::size_t index, const std::string& value) {
        if (!value.empty()) {
            m_processor.DB_ExecuteQuery(Pragma(index, " = " + value).c_str());
        }
    }

    CDBProcessor& m_processor;
    std::array<std::string, kSettings.size()> m_earlier;
};

void Drop(CDBProcessor& processor, std::span<const SIndex> indexes) {
    for (const SIndex& index : indexes) {
        processor.DB_ExecuteQuery((std::string("DROP INDEX IF EXISTS ") + index.name).c_str());
    }
}

} // namespace

CRuleIndexes::CRuleIndexes(CDBProcessor& processor) : m_processor(processor) {
    const CSortSettings settings(processor);
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
