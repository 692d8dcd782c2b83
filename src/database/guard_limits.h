// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database/regexp_cost.h"

#include <array>

struct sqlite3;

namespace Nax::FrontEnd::XMLDB {

/// Bounds what statements may take while the object lives: memory, the length of a value, a row, a
/// statement, its program and a pattern, what a match may cost, databases and threads beside the
/// connection. Puts back what was there before. The memory bound is one of the process: statements
/// of other connections share it meanwhile. The connection must outlive the object. Not for use by
/// several threads. Never fails.
class CGuardLimits {
public:
    explicit CGuardLimits(sqlite3* connection);
    CGuardLimits(const CGuardLimits&) = delete;
    CGuardLimits& operator=(const CGuardLimits&) = delete;
    ~CGuardLimits();

private:
    sqlite3* m_connection;
    std::array<int, 6> m_previous{};
    long long m_previousHardLimit = 0;
    long long m_previousSoftLimit = 0;
    CRegexpCostLimit m_regexpLimit;
};

} // namespace Nax::FrontEnd::XMLDB
