// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database/record_insert.h"

#include <memory>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// What the processor needs of a connection beyond IDatabase.
class IBoundInsertRunner {
public:
    virtual ~IBoundInsertRunner() = default;

    /// Runs `sql` when it is a plain INSERT of literals, through a statement that was prepared
    /// once for all inserts of its form. False when the text is anything else or when the insert
    /// fails; nothing has then been changed, and running the text as it stands gives the result
    /// and the message.
    virtual bool ExecuteBoundInsert(std::string_view sql) = 0;
    /// Lets go of the prepared statements, which would keep the connection from closing.
    virtual void ReleaseBoundInserts() = 0;
    /// The first failure of the disk, the memory or the locks behind the database since it was
    /// opened, whoever's statement met it; empty without one.
    virtual std::string GetStorageFailure() = 0;
    /// Null when `sql`, an INSERT with one parameter a column, cannot be prepared.
    virtual std::unique_ptr<IRecordInsert> PrepareRecordInsert(const std::string& sql) = 0;
};

} // namespace Nax::FrontEnd::XMLDB
