// SPDX-License-Identifier: Apache-2.0
#include "database/statement_guard.h"

#include "database/guard_limits.h"
#include "database/guarded_functions.h"
#include "database/sqlite_database.h"
#include "database/storage_failures.h"

#include <naxfewxmldb/memory.h>

#include <optional>
#include <string_view>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kInstructionsBetweenChecks = 20;
constexpr std::int64_t kStoreInMemory = 2; // what PRAGMA temp_store calls it

} // namespace

void CStatementGuard::SStatementCloser::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

struct CStatementGuard::SState {
    explicit SState(GuardAccess wanted) : access(wanted), policy(wanted) {}

    sqlite3* connection = nullptr;
    GuardAccess access;
    Deadline deadline;
    bool lifted = false;
    bool begun = false;
    bool timedOut = false;
    std::int64_t previousStore = kStoreInMemory;
    const std::uint64_t failedBefore = GetFailedAllocations();
    std::string failure;
    CGuardPolicy policy;
    std::optional<CGuardLimits> limits;

    static int CheckDeadline(void* self) {
        auto& state = *static_cast<SState*>(self);
        state.timedOut = Clock::now() >= state.deadline;
        return state.timedOut ? 1 : 0;
    }
};

CStatementGuard::CStatementGuard(IDatabase& database, GuardAccess access, Deadline deadline)
    : m_state(std::make_unique<SState>(access)) {
    const auto* sqlite = dynamic_cast<CSQLiteDatabase*>(&database);
    m_state->connection = sqlite == nullptr ? nullptr : sqlite->GetHandle();
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
    if (m_state->previousStore != kStoreInMemory) {
        Execute(("PRAGMA temp_store = " + std::to_string(m_state->previousStore)).c_str());
    }
}

void CStatementGuard::StoreInMemory() {
    // A file for sorting or a temporary table would know no bound. A change of the setting drops
    // all temporary tables, so those of the host keep it as it is.
    const std::optional<std::int64_t> store = ReadNumber("PRAGMA temp_store");
    if (store.value_or(kStoreInMemory) != kStoreInMemory &&
        ReadNumber("SELECT count(*) FROM temp.sqlite_master") == 0 &&
        Execute("PRAGMA temp_store = MEMORY")) {
        m_state->previousStore = *store;
    }
}

std::optional<std::int64_t> CStatementGuard::ReadNumber(const char* sql) {
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(m_state->connection, sql, -1, &prepared, nullptr);
    const Statement statement(prepared);
    if (prepared == nullptr || sqlite3_step(prepared) != SQLITE_ROW) {
        return std::nullopt;
    }
    return sqlite3_column_int64(prepared, 0);
}

bool CStatementGuard::Begin() {
    SState& state = *m_state;
    if (state.access == GuardAccess::InsertResults &&
        sqlite3_get_autocommit(state.connection) == 0) {
        // To stop an insert is to roll back the transaction that it is part of.
        state.lifted = true;
        return FailWith("a transaction is open");
    }
    StoreInMemory();
    const bool ready =
        GuardFunctions(state.connection) &&
        (state.access == GuardAccess::ReadOnly ||
         (Execute("DROP TABLE IF EXISTS temp.ValidationResults") &&
          Execute("CREATE TEMP TABLE ValidationResults AS SELECT * FROM main.ValidationResults "
                  "WHERE 0")));
    if (!ready) {
        FailWith(Describe(SQLITE_ERROR));
        state.lifted = true;
        return false;
    }
    // SQLite makes these tables when they are first named, which looks like a change.
    Execute("SELECT 1 FROM json_each('[]'), json_tree('[]')");
    state.limits.emplace(state.connection);
    sqlite3_set_authorizer(state.connection, CGuardPolicy::Authorize, &state.policy);
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
    state.limits.reset();
}

void CStatementGuard::BeginStatement() {
    m_state->policy.BeginStatement();
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
    const char* rest = nullptr;
    const int code = sqlite3_prepare_v2(state.connection, sql.c_str(), -1, &prepared, &rest);
    Statement statement(prepared);
    if (code != SQLITE_OK) {
        FailWith(Describe(code));
        return std::nullopt;
    }
    if (std::string_view(rest).find_first_not_of(" \t\r\n\f") != std::string_view::npos) {
        // The body was cut at its semicolons: this one is of a text that was put in.
        FailWith("a semicolon of \"msg\" ends the statement: a quote in \"msg\" is written twice");
        return std::nullopt;
    }
    if (sqlite3_bind_parameter_count(prepared) > 0) {
        const char* name = sqlite3_bind_parameter_name(prepared, 1);
        FailWith("the placeholder " + std::string(name == nullptr ? "?" : name) +
                 " is not known, and nothing would stand for it");
        return std::nullopt;
    }
    if (sqlite3_stmt_isexplain(prepared) != 0 && state.policy.MayInsert()) {
        // It was asked about as an insert, and a rule of which nothing inserts must not pass.
        state.policy.Deny("EXPLAIN");
        FailWith(Describe(SQLITE_AUTH));
        return std::nullopt;
    }
    if (prepared != nullptr && sqlite3_stmt_readonly(prepared) == 0 && !state.policy.MayInsert()) {
        // Asks nobody until it runs, and then under the name of what it is made of; the others find
        // nothing to do, as DROP TABLE IF EXISTS does.
        state.policy.Deny("VACUUM, or a CREATE or DROP of what is there or is not");
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

bool CStatementGuard::Store(const std::string& ruleId, std::uint64_t& charactersLeft) {
    if (!m_state->begun) {
        return false;
    }
    Lift();
    if (FindForeignRow(ruleId)) {
        return false;
    }
    const std::optional<std::int64_t> counted = ReadNumber(
        "SELECT ifnull(sum(100 + ifnull(length(ResultDescription), 0) + "
        "ifnull(length(UUID), 0)), 0) FROM temp.ValidationResults");
    if (!counted.has_value()) {
        return FailWith(Describe(SQLITE_ERROR));
    }
    const auto characters = static_cast<std::uint64_t>(*counted);
    if (characters > charactersLeft) {
        return FailWith("stopped: its findings take " + std::to_string(characters) +
                        " characters, and rules from files have " + std::to_string(charactersLeft) +
                        " left");
    }
    charactersLeft -= characters;
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
    return m_state->policy.HasInsert();
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
    if (std::string denial = state.policy.GetDenial(); !denial.empty()) {
        return denial;
    }
    if (state.timedOut) {
        return "stopped: the time limit is over";
    }
    if (GetFailedAllocations() != state.failedBefore) {
        return "out of memory";
    }
    if ((code & 0xff) == SQLITE_NOMEM) {
        return "stopped: it needs more than 128 MB of memory, or a statement more than 10,000 "
               "instructions";
    }
    return state.connection == nullptr ? "there is no database" : sqlite3_errmsg(state.connection);
}

} // namespace Nax::FrontEnd::XMLDB
