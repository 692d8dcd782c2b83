// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/database.h>

namespace Nax::FrontEnd::XMLDB {

/// Commits the transaction that the caller has begun on `database`, also when another connection
/// of the process, made or closed meanwhile, has cleared the "transaction started" flag that all
/// connections share.
inline bool CommitOwnTransaction(IDatabase& database) {
    return database.Commit() || (!database.IsTransactionStarted() && database.IsConnected() &&
                                 database.Execute("commit;"));
}

} // namespace Nax::FrontEnd::XMLDB
