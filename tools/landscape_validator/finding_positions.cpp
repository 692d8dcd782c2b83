// SPDX-License-Identifier: Apache-2.0
#include "finding_positions.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

/// The tables of entries under the names that they have when the rules run.
struct SEntryTable {
    const char* table;
    const char* element;
};

constexpr std::array kEntryTables = {
    SEntryTable{"Services", "Service"},
    SEntryTable{"Items", "Item"},
    SEntryTable{"Nodes", "Node"},
    SEntryTable{"Workspaces", "Workspace"},
    SEntryTable{"Messageservers", "Messageserver"},
    SEntryTable{"Routers", "Router"},
    SEntryTable{"Webdispatchers", "Webdispatcher"},
    SEntryTable{"LDAPS", "LDAP"},
};

/// What a built-in rule says of an entry besides its uuid, where that tells entries apart.
struct SKnownRule {
    int id;
    const char* key;       ///< column that holds the uuid of the result
    const char* arguments; ///< of the rule's message, in its table's columns
    const char* condition;
};

constexpr std::array kKnownRules = {
    SKnownRule{0, "uuid", "uuid, Routerid", ""},
    SKnownRule{1, "uuid", "uuid, sncop", ""},
    SKnownRule{2, "serviceid", "", ""},
    SKnownRule{3, "uuid", "uuid, name, host", ""},
    SKnownRule{4, "uuid", "uuid, name, host", ""},
    SKnownRule{6, "uuid", "uuid, name", ""},
    SKnownRule{7, "uuid", "uuid, name", ""},
    SKnownRule{9, "uuid", "uuid, name", ""},
    SKnownRule{15, "uuid", "uuid, parent_id", ""},
    SKnownRule{16, "uuid", "uuid, msid", ""},
    SKnownRule{17, "uuid", "uuid, msid", "uses_webdispatcher = '1'"},
    SKnownRule{18, "uuid", "uuid, msid", ""},
    SKnownRule{27, "uuid", "uuid, name", ""},
    SKnownRule{28, "uuid", "uuid, name", ""},
    SKnownRule{29, "uuid", "uuid, parent_id", ""},
    SKnownRule{31, "uuid", "",
               "shortcut = '1' AND link <> '' AND NOT EXISTS (SELECT 1 FROM Services AS target "
               "WHERE target.uuid = Services.link)"},
    SKnownRule{32, "uuid", "",
               "shortcut = '0' AND link <> '' AND NOT EXISTS (SELECT 1 FROM Services AS target "
               "WHERE target.uuid = Services.link)"},
};

constexpr int kNoRule = -1;

constexpr char kFindings[] =
    "SELECT pk, RuleId, UUID, file_id, ResultDescription, Msg, UUID IS NULL "
    "FROM ValidationResults WHERE file_id <> '' AND ResultId NOT IN ('1', '4') "
    "AND CAST(RuleId AS INTEGER) >= 0 ORDER BY CAST(RuleId AS INTEGER), pk";

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
}

/// Place in kEntryTables of the first table behind a FROM; kEntryTables.size() for none.
std::size_t MainTable(std::string_view body) {
    bool afterFrom = false;
    for (std::size_t at = 0; at < body.size();) {
        const auto isWord = [&body](std::size_t place) {
            return std::isalnum(static_cast<unsigned char>(body[place])) != 0 || body[place] == '_';
        };
        if (!isWord(at)) {
            ++at;
            continue;
        }
        std::size_t end = at;
        while (end < body.size() && isWord(end)) {
            ++end;
        }
        const std::string_view word = body.substr(at, end - at);
        at = end;
        if (afterFrom) {
            const auto found = std::find_if(
                kEntryTables.begin(), kEntryTables.end(),
                [word](const SEntryTable& e) { return EqualIgnoringCase(e.table, word); });
            if (found != kEntryTables.end()) {
                return static_cast<std::size_t>(found - kEntryTables.begin());
            }
        }
        afterFrom = EqualIgnoringCase(word, "from");
    }
    return kEntryTables.size();
}

/// One finding as the results hold it.
struct SResultRow {
    CStringA uuid;
    CStringA fileId;
    CStringA description;
    CStringA message;
};

/// A look-up of entries, prepared once and run for many findings.
class CEntryQuery {
public:
    CEntryQuery(const CDBProcessor& processor, std::size_t table, const SKnownRule* rule)
        : m_database(processor.GetDatabase()), m_table(table) {
        const std::string key = rule == nullptr ? "uuid" : rule->key;
        std::string sql = std::string("SELECT rowid FROM ") + kEntryTables[table].table +
                          " WHERE " + key + " IS ?1 AND file_id = ?2";
        if (rule != nullptr && *rule->arguments != '\0') {
            sql += std::string(" AND printf(?4, ") + rule->arguments + ") = ?3";
            m_bindsMessage = true;
        }
        if (rule != nullptr && *rule->condition != '\0') {
            sql += std::string(" AND ") + rule->condition;
        }
        m_database->ExecuteQuery((sql + " ORDER BY rowid").c_str(), m_rows);
    }

    std::vector<long> Find(SResultRow& result) const {
        std::vector<long> found;
        if (m_rows == nullptr || !m_database->ResetRecordset(m_rows) ||
            !m_database->BindText(m_rows, 0, result.uuid) ||
            !m_database->BindText(m_rows, 1, result.fileId)) {
            return found;
        }
        if (m_bindsMessage) {
            m_database->BindText(m_rows, 2, result.description);
            m_database->BindText(m_rows, 3, result.message);
        }
        while (m_rows->MoveNext()) {
            found.push_back(m_rows->GetInt(0));
        }
        m_database->ResetRecordset(m_rows);
        return found;
    }

    std::size_t GetTable() const { return m_table; }

private:
    std::shared_ptr<IDatabase> m_database;
    std::shared_ptr<IRecordset> m_rows;
    std::size_t m_table;
    bool m_bindsMessage = false;
};

/// The look-ups for one rule's findings, the most telling first.
class CRuleLocator {
public:
    CRuleLocator(const CDBProcessor& processor, int ruleId, std::string_view body) {
        const std::size_t main = MainTable(body);
        const auto known = std::find_if(kKnownRules.begin(), kKnownRules.end(),
                                        [ruleId](const SKnownRule& r) { return r.id == ruleId; });
        if (main < kEntryTables.size()) {
            if (known != kKnownRules.end()) {
                m_queries.emplace_back(processor, main, known);
            }
            m_queries.emplace_back(processor, main, nullptr);
        }
        for (std::size_t table = 0; table < kEntryTables.size(); ++table) {
            if (table != main) {
                m_queries.emplace_back(processor, table, nullptr);
            }
        }
    }

    /// Table and row of the entry; row 0 for none.
    std::pair<std::size_t, long> Find(SResultRow& result) {
        auto [place, isNew] = m_found.try_emplace(
            {result.uuid.GetString(), result.fileId.GetString(), result.description.GetString()});
        SEntries& entries = place->second;
        for (auto query = m_queries.begin(); isNew && query != m_queries.end(); ++query) {
            entries.rows = query->Find(result);
            entries.table = query->GetTable();
            if (!entries.rows.empty()) {
                break;
            }
        }
        if (entries.rows.empty()) {
            return {0, 0};
        }
        return {entries.table, entries.rows[entries.next++ % entries.rows.size()]};
    }

private:
    struct SEntries {
        std::size_t table = 0;
        std::vector<long> rows;
        std::size_t next = 0;
    };

    std::vector<CEntryQuery> m_queries;
    std::map<std::tuple<std::string, std::string, std::string>, SEntries> m_found;
};

std::string BodyOf(CDBProcessor& processor, int ruleId) {
    std::shared_ptr<IRecordset> rows;
    const std::string sql =
        "SELECT Body FROM Rules WHERE RuleId = '" + std::to_string(ruleId) + "'";
    return processor.DB_ExecuteQuery(sql.c_str(), rows) && rows->MoveNext()
               ? rows->GetString(0).GetString()
               : std::string();
}

} // namespace

FindingPlaces LocateFindings(CDBProcessor& processor, const CLandscapeTables& tables,
                             const CElementPositions& positions, bool builtInRules) {
    FindingPlaces places;
    std::shared_ptr<IRecordset> rows;
    if (!processor.DB_ExecuteQuery(kFindings, rows)) {
        return places;
    }
    std::unique_ptr<CRuleLocator> locator;
    int locatedRule = -1;
    while (rows->MoveNext()) {
        const int ruleId = rows->GetInt(1);
        if (locator == nullptr || ruleId != locatedRule) {
            locator = std::make_unique<CRuleLocator>(processor, builtInRules ? ruleId : kNoRule,
                                                     BodyOf(processor, ruleId));
            locatedRule = ruleId;
        }
        if (rows->GetInt(6) != 0) {
            continue;
        }
        SResultRow result{rows->GetString(2), rows->GetString(3), rows->GetString(4),
                          rows->GetString(5)};
        const auto [table, row] = locator->Find(result);
        if (row > 0) {
            places[rows->GetInt(0)] = {
                rows->GetInt(3), positions.LineOf(tables.Find(kEntryTables[table].element), row)};
        }
    }
    return places;
}

} // namespace LandscapeValidator
