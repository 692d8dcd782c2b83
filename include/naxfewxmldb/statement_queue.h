// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// SQL statements that wait for the commit, in order.
///
/// A landscape of millions of entries queues one long statement per entry, nearly all of them
/// beginning with one of a few INSERT prefixes. So the texts lie one behind the other in large
/// blocks, and a prefix (everything up to and including "VALUES ") is stored once. A value type;
/// one thread at a time.
class NAXFEWXMLDB_EXPORT CStatementQueue {
public:
    void Append(std::string_view statement);
    void Clear();
    bool IsEmpty() const { return m_count == 0; }
    std::size_t GetCount() const { return m_count; }

    /// Calls `visit` for each statement in order until it returns false; false when it did. The
    /// text is zero-terminated and valid during the call.
    bool ForEach(const std::function<bool(const std::string&)>& visit) const;

private:
    std::size_t PrefixIndex(std::string_view prefix);
    void Store(std::size_t prefix, std::string_view rest);

    std::vector<std::string> m_prefixes;
    std::vector<std::string> m_blocks;
    std::size_t m_count = 0;
};

} // namespace Nax::FrontEnd::XMLDB
