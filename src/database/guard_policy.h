// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

enum class GuardAccess { ReadOnly, InsertResults };

/// What statements from somebody else may ask of a connection: to read everything, and with
/// `GuardAccess::InsertResults` to insert into the temporary `ValidationResults`. Everything that
/// is not allowed here is denied, also what a later SQLite invents. Holds nothing of the
/// connection. Not for use by several threads. Denies rather than throws; only want of memory
/// throws.
class CGuardPolicy {
public:
    explicit CGuardPolicy(GuardAccess access);

    /// Forgets what was denied and counted before the next statement is prepared.
    void BeginStatement();
    /// Notes a denial that the authorizer was not asked for.
    void Deny(const std::string& what);
    /// What was denied and what is allowed; empty when nothing was denied.
    std::string GetDenial() const;
    /// True once a statement wants to insert into the results.
    bool HasInsert() const { return m_hasInsert; }
    /// The same of the statement that was prepared last.
    bool MayInsert() const { return m_mayInsert; }

    /// For sqlite3_set_authorizer, with a policy as its first argument.
    static int Authorize(void* self, int action, const char* object, const char* second,
                         const char* schema, const char* trigger);

private:
    bool Allows(int action, std::string_view object, std::string_view function,
                std::string_view schema);

    GuardAccess m_access;
    std::string m_denied;
    int m_calls = 0; ///< in the statement that is being prepared
    int m_costlyCalls = 0;
    bool m_hasInsert = false;
    bool m_mayInsert = false;
};

} // namespace Nax::FrontEnd::XMLDB
