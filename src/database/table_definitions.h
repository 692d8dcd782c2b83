// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

struct sqlite3;

namespace Nax::FrontEnd::XMLDB {

/// Tries out what a schema and a stylesheet gave as definitions of tables, in an empty database in
/// memory of its own. They come from files of the user, and those may come from somebody else, so
/// nothing else than making and dropping tables is let through: no other statement, no query
/// behind a table, no function in a default value or a constraint.
///
/// One thread at a time. Throws only for want of memory.
class CTableDefinitions {
public:
    CTableDefinitions();

    /// Runs a text of statements; false when one of them fails or is refused.
    bool Define(const std::string& sql);
    /// Whether rows could be inserted with this statement.
    bool CanInsert(const std::string& sql);
    /// True once something was refused: these definitions must not reach another database.
    bool IsRefused() const noexcept { return !m_refused.empty(); }
    /// Why the last operation failed.
    const std::string& GetFailure() const noexcept { return m_failure; }

private:
    struct SClose {
        void operator()(sqlite3* connection) const noexcept;
    };

    static int Authorize(void* self, int action, const char* object, const char* second,
                         const char* schema, const char* trigger) noexcept;
    bool Result(int code);

    std::unique_ptr<sqlite3, SClose> m_connection;
    const char* m_asked = ""; ///< what the statement wants that is refused
    std::string m_refused;
    std::string m_failure;
};

} // namespace Nax::FrontEnd::XMLDB
