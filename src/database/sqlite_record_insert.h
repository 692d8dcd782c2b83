// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database/record_insert.h"

#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace Nax::FrontEnd::XMLDB {

/// IRecordInsert on SQLite. Must be gone before its connection closes. One thread at a time.
///
/// The database is UTF-16, so every text has to be widened. For ASCII, which nearly every value is,
/// a loop that the compiler turns into vector instructions does that in a fraction of the time of
/// SQLite's conversion, which takes one character after the other into memory of its own; all other
/// texts are left to SQLite.
class CSQLiteRecordInsert : public IRecordInsert {
public:
    /// Null when `sql`, an INSERT with one parameter a column, cannot be prepared.
    static std::unique_ptr<IRecordInsert> Prepare(sqlite3* connection, const std::string& sql);

    bool Run(std::span<const SRecordValue> values) override;

private:
    struct SFinalizer {
        void operator()(sqlite3_stmt* statement) const;
    };

    explicit CSQLiteRecordInsert(sqlite3_stmt* statement);
    bool Bind(std::span<const SRecordValue> values);

    std::unique_ptr<sqlite3_stmt, SFinalizer> m_statement;
    std::u16string m_wide; ///< the texts of one row, which the parameters point into
};

} // namespace Nax::FrontEnd::XMLDB
