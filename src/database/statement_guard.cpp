// SPDX-License-Identifier: Apache-2.0
#include "database/statement_guard.h"

#include "database/regexp_cost.h"
#include "database/sqlite_database.h"
#include "database/storage_failures.h"
#include "support/format.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kResults[] = "ValidationResults";
constexpr int kInstructionsBetweenChecks = 20;
constexpr sqlite3_int64 kMemory = sqlite3_int64{256} * 1024 * 1024;
// Instructions times bytes: a part of a second.
constexpr std::uint64_t kRegexpCost = 50'000'000;

// These functions take time in proportion to the product of their arguments' lengths, and SQLite
// looks at the clock only where a program jumps, never within a call or between those of one row.
// So their number in a statement is bounded, and with the lengths below each ends soon.
constexpr std::array<std::string_view, 9> kCostlyFunctions = {
    "instr", "replace", "trim", "ltrim", "rtrim", "like", "glob", "regexp", "regexpi"};
constexpr int kMostCostlyCalls = 20;

constexpr std::array kLimits = {
    std::pair{SQLITE_LIMIT_LENGTH, 200'000},
    std::pair{SQLITE_LIMIT_SQL_LENGTH, 1'000'000},
    std::pair{SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 1'000},
    std::pair{SQLITE_LIMIT_ATTACHED, 0},
    std::pair{SQLITE_LIMIT_WORKER_THREADS, 0},
};

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

void CStatementGuard::SStatementCloser::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

struct CStatementGuard::SState {
    sqlite3* connection = nullptr;
    GuardAccess access = GuardAccess::ReadOnly;
    Deadline deadline;
    bool lifted = false;
    bool begun = false;
    bool hasInsert = false; ///< in any statement
    bool mayInsert = false; ///< in the statement that is being prepared
    bool timedOut = false;
    int costlyCalls = 0; ///< in the statement that is being prepared
    std::string denied;
    std::string failure;
    std::array<int, kLimits.size()> previousLimits{};
    sqlite3_int64 previousHardLimit = 0;
    sqlite3_int64 previousSoftLimit = 0;
    std::optional<CRegexpCostLimit> regexpLimit;

    bool Allows(int action, std::string_view object, std::string_view function,
                std::string_view schema) {
        switch (action) {
            case SQLITE_SELECT:
            case SQLITE_READ:
            case SQLITE_RECURSIVE:
                return true;
            case SQLITE_FUNCTION:
                costlyCalls += Contains(kCostlyFunctions, function) ? 1 : 0;
                return !Contains(kRefusedFunctions, function) && costlyCalls <= kMostCostlyCalls;
            case SQLITE_INSERT:
                if (access == GuardAccess::InsertResults && EqualIgnoringCase(object, kResults) &&
                    schema == "temp") {
                    hasInsert = true;
                    mayInsert = true;
                    return true;
                }
                return false;
            default:
                return false;
        }
    }

    static int Authorize(void* self, int action, const char* object, const char* second,
                         const char* schema, const char* /*trigger*/) {
        auto& state = *static_cast<SState*>(self);
        if (state.Allows(action, TextOf(object), TextOf(second), TextOf(schema))) {
            return SQLITE_OK;
        }
        if (state.denied.empty() && state.costlyCalls > kMostCostlyCalls) {
            state.denied = "more than 20 searches in texts in one statement";
        } else if (state.denied.empty() || action == SQLITE_ANALYZE) {
            // ANALYZE asks for a table of its own first.
            state.denied = DescribeAction(action, TextOf(object), TextOf(second), TextOf(schema));
        }
        return SQLITE_DENY;
    }

    static int CheckDeadline(void* self) {
        auto& state = *static_cast<SState*>(self);
        state.timedOut = Clock::now() >= state.deadline;
        return state.timedOut ? 1 : 0;
    }
};

CStatementGuard::CStatementGuard(IDatabase& database, GuardAccess access, Deadline deadline)
    : m_state(std::make_unique<SState>()) {
    const auto* sqlite = dynamic_cast<CSQLiteDatabase*>(&database);
    m_state->connection = sqlite == nullptr ? nullptr : sqlite->GetHandle();
    m_state->access = access;
    m_state->deadline = deadline;
    if (m_state->connection == nullptr) {
        m_state->lifted = true;
        FailWith("there is no database");
        return;
    }
    m_state->begun = Begin();
}

CStatementGuard::~CStatementGuard() {
    Lift();
    if (m_state->connection != nullptr && m_state->access == GuardAccess::InsertResults) {
        Execute("DROP TABLE IF EXISTS temp.ValidationResults");
    }
}

bool CStatementGuard::Begin() {
    SState& state = *m_state;
    if (state.access == GuardAccess::InsertResults &&
        sqlite3_get_autocommit(state.connection) == 0) {
        // To stop an insert is to roll back the transaction that it is part of.
        state.lifted = true;
        return FailWith("a transaction is open");
    }
    const bool ready =
        state.access == GuardAccess::ReadOnly ||
        (Execute("DROP TABLE IF EXISTS temp.ValidationResults") &&
         Execute("CREATE TEMP TABLE ValidationResults AS SELECT * FROM main.ValidationResults "
                 "WHERE 0"));
    if (!ready) {
        FailWith(Describe(SQLITE_ERROR));
        state.lifted = true;
        return false;
    }
    // SQLite makes these tables when they are first named, which looks like a change.
    Execute("SELECT 1 FROM json_each('[]'), json_tree('[]')");
    for (std::size_t index = 0; index < kLimits.size(); ++index) {
        state.previousLimits[index] =
            sqlite3_limit(state.connection, kLimits[index].first, kLimits[index].second);
    }
    // Reading the limits changes nothing; a limit of the host's that is lower stays.
    state.previousSoftLimit = sqlite3_soft_heap_limit64(-1);
    state.previousHardLimit = sqlite3_hard_heap_limit64(-1);
    const sqlite3_int64 limit = sqlite3_memory_used() + kMemory;
    if (state.previousHardLimit == 0 || limit < state.previousHardLimit) {
        sqlite3_hard_heap_limit64(limit);
    }
    state.regexpLimit.emplace(kRegexpCost);
    sqlite3_set_authorizer(state.connection, SState::Authorize, &state);
    sqlite3_progress_handler(state.connection, kInstructionsBetweenChecks, SState::CheckDeadline,
                             &state);
    return true;
}

void CStatementGuard::Lift() {
    SState& state = *m_state;
    if (state.lifted) {
        return;
    }
    state.lifted = true;
    sqlite3_progress_handler(state.connection, 0, nullptr, nullptr);
    sqlite3_set_authorizer(state.connection, nullptr, nullptr);
    state.regexpLimit.reset();
    sqlite3_hard_heap_limit64(state.previousHardLimit);
    // Setting a hard limit had lowered the soft one with it.
    sqlite3_soft_heap_limit64(state.previousSoftLimit);
    for (std::size_t index = 0; index < kLimits.size(); ++index) {
        sqlite3_limit(state.connection, kLimits[index].first, state.previousLimits[index]);
    }
}

void CStatementGuard::BeginStatement() {
    m_state->denied.clear();
    m_state->costlyCalls = 0;
    m_state->mayInsert = false;
}

bool CStatementGuard::Prepare(const std::string& sql) {
    return PrepareStatement(sql).has_value();
}

std::optional<CStatementGuard::Statement> CStatementGuard::PrepareStatement(
    const std::string& sql) {
    SState& state = *m_state;
    if (!state.begun) {
        return std::nullopt;
    }
    BeginStatement();
    sqlite3_stmt* prepared = nullptr;
    const int code = sqlite3_prepare_v2(state.connection, sql.c_str(), -1, &prepared, nullptr);
    Statement statement(prepared);
    if (code != SQLITE_OK) {
        FailWith(Describe(code));
        return std::nullopt;
    }
    if (sqlite3_bind_parameter_count(prepared) > 0) {
        const char* name = sqlite3_bind_parameter_name(prepared, 1);
        FailWith("the placeholder " + std::string(name == nullptr ? "?" : name) +
                 " is not known, and nothing would stand for it");
        return std::nullopt;
    }
    if (prepared != nullptr && sqlite3_stmt_readonly(prepared) == 0 && !state.mayInsert) {
        // Asks nobody until it runs, and then under the name of what it is made of.
        state.denied = "VACUUM";
        FailWith(Describe(SQLITE_AUTH));
        return std::nullopt;
    }
    return statement;
}

bool CStatementGuard::Run(const std::string& sql) {
    SState& state = *m_state;
    const std::optional<Statement> prepared = PrepareStatement(sql);
    if (!prepared.has_value()) {
        return false;
    }
    sqlite3_stmt* statement = prepared->get();
    if (Clock::now() >= state.deadline) {
        // Short statements never come to the check of the running ones.
        state.timedOut = true;
        return FailWith(Describe(SQLITE_INTERRUPT));
    }
    if (statement == nullptr) {
        return true; // nothing but white space or a comment
    }
    int code = SQLITE_OK;
    do {
        code = sqlite3_step(statement);
    } while (code == SQLITE_ROW);
    return code == SQLITE_DONE || FailWith(Describe(code));
}

bool CStatementGuard::Store(const std::string& ruleId) {
    if (!m_state->begun) {
        return false;
    }
    Lift();
    if (FindForeignRow(ruleId)) {
        return false;
    }
    return Execute(
               "INSERT INTO main.ValidationResults (RuleId, ResultDescription, UUID, file_id) "
               "SELECT RuleId, CAST(ifnull(ResultDescription, '') AS TEXT), CAST(UUID AS TEXT), "
               "CASE WHEN ifnull(file_id, '') = '' THEN '-1' ELSE file_id END "
               "FROM temp.ValidationResults ORDER BY rowid") ||
           FailWith(Describe(SQLITE_ERROR));
}

bool CStatementGuard::FindForeignRow(const std::string& ruleId) {
    constexpr char kSql[] =
        "SELECT CASE WHEN RuleId IS NOT ?1 THEN 'the rule id ' || quote(RuleId) "
        "ELSE 'the file ' || quote(file_id) || ', which no row of Files has' END "
        "FROM temp.ValidationResults WHERE RuleId IS NOT ?1 OR (ifnull(file_id, '') <> '' AND "
        "file_id NOT IN (SELECT CAST(indx AS TEXT) FROM main.Files)) ORDER BY rowid LIMIT 1";
    sqlite3_stmt* prepared = nullptr;
    const int prepareCode = sqlite3_prepare_v2(m_state->connection, kSql, -1, &prepared, nullptr);
    const Statement statement(prepared);
    if (prepareCode != SQLITE_OK) {
        return !FailWith(Describe(SQLITE_ERROR));
    }
    sqlite3_bind_text(statement.get(), 1, ruleId.c_str(), -1, SQLITE_STATIC);
    const int code = sqlite3_step(statement.get());
    if (code == SQLITE_DONE) {
        return false;
    }
    const auto* text = code == SQLITE_ROW ? sqlite3_column_text(statement.get(), 0) : nullptr;
    return !FailWith(text == nullptr ? Describe(SQLITE_ERROR)
                                     : std::string("not allowed: a result with ") +
                                           reinterpret_cast<const char*>(text));
}

std::string CStatementGuard::GetFailure() const {
    const SState& state = *m_state;
    return state.failure.empty() ? Describe(sqlite3_errcode(state.connection)) : state.failure;
}

bool CStatementGuard::IsBroken() const {
    const int code = sqlite3_errcode(m_state->connection);
    return code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE;
}

bool CStatementGuard::IsTimedOut() const {
    return m_state->timedOut;
}

bool CStatementGuard::HasInsert() const {
    return m_state->hasInsert;
}

bool CStatementGuard::Execute(const char* sql) {
    if (sqlite3_exec(m_state->connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK) {
        return true;
    }
    CStorageFailures::Note(m_state->connection);
    return false;
}

bool CStatementGuard::FailWith(const std::string& message) {
    m_state->failure = message;
    return false;
}

std::string CStatementGuard::Describe(int code) const {
    const SState& state = *m_state;
    CStorageFailures::Note(state.connection);
    if (!state.denied.empty()) {
        return "not allowed: " + state.denied +
               (state.access == GuardAccess::InsertResults
                    ? "; a rule from a file may read everything and insert into ValidationResults"
                    : "; an action from a file may read everything and change nothing");
    }
    if (state.timedOut) {
        return "stopped: the time limit is over";
    }
    if ((code & 0xff) == SQLITE_NOMEM) {
        return "stopped: it needs more than 256 MB of memory";
    }
    return state.connection == nullptr ? "there is no database" : sqlite3_errmsg(state.connection);
}

} // namespace Nax::FrontEnd::XMLDB
