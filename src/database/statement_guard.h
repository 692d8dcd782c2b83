// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database/guard_policy.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace Nax::FrontEnd::XMLDB {

class IDatabase;

/// Runs statements that come from somebody else: of a rule or an export that a user has got from
/// elsewhere.
///
/// While a guard lives, every statement that is prepared on its connection may read everything and
/// change nothing. With `GuardAccess::InsertResults` it may also insert into `ValidationResults`,
/// which then is an empty temporary table that hides the real one: what stands there belongs to
/// these statements alone, so neither REPLACE nor a conflict clause can reach other rules' rows.
/// The authorizer sees tables but no values, and a savepoint would be lost to the rollback that
/// SQLite makes when it interrupts an insert; that is why the rows wait elsewhere until they have
/// been looked at.
///
/// A statement is stopped at the deadline, and bounded in memory, in the length of one value and
/// in what a single function call may cost, because no call of a function is ever interrupted. What
/// is temporary stays in memory, unless the host has temporary tables elsewhere. The memory bound
/// is one of the process: statements of other connections share it meanwhile.
///
/// The connection must outlive the guard, and nobody else may use it while the guard lives. Not for
/// use by several threads. No statement of the guard throws; failures are told by GetFailure.
class CStatementGuard {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    CStatementGuard(IDatabase& database, GuardAccess access, Deadline deadline);
    CStatementGuard(const CStatementGuard&) = delete;
    CStatementGuard& operator=(const CStatementGuard&) = delete;
    /// Lifts the guard; rows that were not stored are dropped.
    ~CStatementGuard();

    /// Runs one statement to its end. False when it was refused, failed or was stopped.
    bool Run(const std::string& sql);
    /// To be called before a statement that is prepared on the connection beside the guard.
    void BeginStatement();
    /// Only prepares it: tells what is wrong without any effect.
    bool Prepare(const std::string& sql);
    /// Lifts the guard and moves the inserted rows into the results, with the rule's id, their
    /// text, uuid and file; whatever else they hold is dropped. False, and nothing is stored, when
    /// a row bears another rule's id or names a file that is not there, or when the rows hold more
    /// characters than `charactersLeft`, from which they are taken (and 100 for each row).
    bool Store(const std::string& ruleId, std::uint64_t& charactersLeft);
    /// Whether the latest statement on the connection, also one run beside the guard, ended by a
    /// failure.
    bool IsBroken() const;
    /// Why the last operation failed, or a statement that was run beside the guard.
    std::string GetFailure() const;
    bool IsTimedOut() const;
    /// True once a prepared statement wants to insert into the results.
    bool HasInsert() const;

private:
    struct SState;
    struct SStatementCloser {
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, SStatementCloser>;

    bool Begin();
    void Lift();
    /// None when it was refused. A null pointer stands for white space and comments.
    std::optional<Statement> PrepareStatement(const std::string& sql);
    bool Execute(const char* sql);
    bool FindForeignRow(const std::string& ruleId);
    void StoreInMemory();
    /// None after a failure.
    std::optional<std::int64_t> ReadNumber(const char* sql);
    bool FailWith(const std::string& message);
    std::string Describe(int code) const;

    std::unique_ptr<SState> m_state;
};

} // namespace Nax::FrontEnd::XMLDB
