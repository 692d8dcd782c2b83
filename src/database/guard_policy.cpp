// SPDX-License-Identifier: Apache-2.0
#include "database/guard_policy.h"

#include <algorithm>
#include <array>
#include <utility>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kResults[] = "ValidationResults";

// These functions take time in proportion to the product of their arguments' lengths, and SQLite
// looks at the clock only where a program jumps, never within a call or between those of one row.
// So their number in a statement is bounded, and with the lengths below each ends soon.
constexpr std::array<std::string_view, 10> kCostlyFunctions = {
    "instr", "replace", "trim",   "ltrim",   "rtrim",
    "like",  "glob",    "regexp", "regexpi", "json_patch"};
constexpr int kMostCostlyCalls = 20;
// Any other may still have to read a long text, such as json(), within a millisecond.
constexpr int kMostCalls = 250;

// Those that reach beyond the database, where a build or a host has them.
constexpr std::array<std::string_view, 6> kRefusedFunctions = {
    "load_extension", "readfile", "writefile", "edit", "fts3_tokenizer", "sqlite_log"};

constexpr std::array kActionNames = {
    std::pair{SQLITE_DELETE, "DELETE from"},
    std::pair{SQLITE_INSERT, "INSERT into"},
    std::pair{SQLITE_UPDATE, "UPDATE of"},
    std::pair{SQLITE_PRAGMA, "PRAGMA"},
    std::pair{SQLITE_ATTACH, "ATTACH"},
    std::pair{SQLITE_DETACH, "DETACH"},
    std::pair{SQLITE_SAVEPOINT, "SAVEPOINT"},
    std::pair{SQLITE_FUNCTION, "the function"},
    std::pair{SQLITE_REINDEX, "REINDEX of"},
    std::pair{SQLITE_CREATE_TRIGGER, "CREATE TRIGGER"},
    std::pair{SQLITE_CREATE_TEMP_TRIGGER, "CREATE TRIGGER"},
    std::pair{SQLITE_DROP_TRIGGER, "DROP TRIGGER"},
    std::pair{SQLITE_DROP_TEMP_TRIGGER, "DROP TRIGGER"},
};

// What the first question about a statement is when it is about the list of all tables.
constexpr std::array kSchemaActionNames = {
    std::pair{SQLITE_INSERT, "CREATE of a table, an index or a view"},
    std::pair{SQLITE_DELETE, "DROP of a table, an index or a view"},
    // No UPDATE gets so far: this is a virtual table that comes into being as it is named.
    std::pair{SQLITE_UPDATE, "a table-valued function other than json_each and json_tree"},
};

/// Null when the action has no name here.
template <std::size_t count>
const char* NameOf(const std::array<std::pair<int, const char*>, count>& names, int action) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [action](const auto& item) { return item.first == action; });
    return found == names.end() ? nullptr : found->second;
}

std::string_view TextOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

bool EqualIgnoringCase(std::string_view left, const char* right) {
    return sqlite3_stricmp(std::string(left).c_str(), right) == 0;
}

template <std::size_t count>
bool Contains(const std::array<std::string_view, count>& names, std::string_view name) {
    return std::any_of(names.begin(), names.end(), [name](std::string_view item) {
        return EqualIgnoringCase(name, std::string(item).c_str());
    });
}

/// What a denied action is called; its objects come from the statement.
std::string DescribeAction(int action, std::string_view object, std::string_view second,
                           std::string_view schema) {
    const char* schemaName = NameOf(kSchemaActionNames, action);
    if (schemaName != nullptr && object.starts_with("sqlite_")) {
        return schemaName;
    }
    switch (action) {
        case SQLITE_TRANSACTION:
            return std::string(object) + " of a transaction";
        case SQLITE_ALTER_TABLE:
            return std::string("ALTER TABLE ").append(second);
        case SQLITE_ANALYZE:
            return "ANALYZE";
        default:
            break;
    }
    const char* name = NameOf(kActionNames, action);
    if (name == nullptr) {
        return "a change of the database's tables, indexes, views or triggers";
    }
    const std::string_view subject = action == SQLITE_FUNCTION ? second : object;
    // The results that a rule may insert into have the same name.
    const char* prefix = EqualIgnoringCase(object, kResults) && schema == "main" ? "main." : "";
    return std::string(name).append(subject.empty() ? "" : " ").append(prefix).append(subject);
}

} // namespace

CGuardPolicy::CGuardPolicy(GuardAccess access) : m_access(access) {}

void CGuardPolicy::BeginStatement() {
    m_denied.clear();
    m_calls = 0;
    m_costlyCalls = 0;
    m_mayInsert = false;
}

void CGuardPolicy::Deny(const std::string& what) {
    m_denied = what;
}

std::string CGuardPolicy::GetDenial() const {
    if (m_denied.empty()) {
        return {};
    }
    return "not allowed: " + m_denied +
           (m_access == GuardAccess::InsertResults
                ? "; a rule from a file may read everything and insert into ValidationResults"
                : "; an action from a file may read everything and change nothing");
}

bool CGuardPolicy::Allows(int action, std::string_view object, std::string_view function,
                          std::string_view schema) {
    switch (action) {
        case SQLITE_SELECT:
        case SQLITE_READ:
        case SQLITE_RECURSIVE:
            return true;
        case SQLITE_FUNCTION:
            ++m_calls;
            m_costlyCalls += Contains(kCostlyFunctions, function) ? 1 : 0;
            return !Contains(kRefusedFunctions, function) && m_costlyCalls <= kMostCostlyCalls &&
                   m_calls <= kMostCalls;
        case SQLITE_INSERT:
            if (m_access == GuardAccess::InsertResults && EqualIgnoringCase(object, kResults) &&
                schema == "temp") {
                m_hasInsert = true;
                m_mayInsert = true;
                return true;
            }
            return false;
        default:
            return false;
    }
}

int CGuardPolicy::Authorize(void* self, int action, const char* object, const char* second,
                            const char* schema, const char* /*trigger*/) {
    auto& policy = *static_cast<CGuardPolicy*>(self);
    if (policy.Allows(action, TextOf(object), TextOf(second), TextOf(schema))) {
        return SQLITE_OK;
    }
    if (policy.m_denied.empty() && policy.m_costlyCalls > kMostCostlyCalls) {
        policy.m_denied = "more than 20 searches in texts in one statement";
    } else if (policy.m_denied.empty() && policy.m_calls > kMostCalls) {
        policy.m_denied = "more than 250 calls of functions in one statement";
    } else if (policy.m_denied.empty() || action == SQLITE_ANALYZE) {
        // ANALYZE asks for a table of its own first.
        policy.m_denied = DescribeAction(action, TextOf(object), TextOf(second), TextOf(schema));
    }
    return SQLITE_DENY;
}

} // namespace Nax::FrontEnd::XMLDB
