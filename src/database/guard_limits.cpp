// SPDX-License-Identifier: Apache-2.0
#include "database/guard_limits.h"

#include <utility>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

// As SQLite counts it. Where it asks for small pieces, to sort numbers for instance, the process
// takes twice as much: each piece has an end of its own that nobody counts.
constexpr sqlite3_int64 kMemory = sqlite3_int64{128} * 1024 * 1024;
// Instructions times bytes: a part of a second.
constexpr std::uint64_t kRegexpCost = 50'000'000;

// SQLite looks at the clock only where a program jumps. In one that is a single row of calls, each
// of which reads long texts, it would not for minutes.
constexpr int kInstructions = 12'000; // it doubles the room for them and ends at 10,752
// LIKE and GLOB may compare each character of a text with all of a pattern.
constexpr int kPatternBytes = 250;

constexpr std::array<std::pair<int, int>, 6> kLimits = {{
    std::pair{SQLITE_LIMIT_LENGTH, 200'000},
    std::pair{SQLITE_LIMIT_SQL_LENGTH, 1'000'000},
    std::pair{SQLITE_LIMIT_LIKE_PATTERN_LENGTH, kPatternBytes},
    std::pair{SQLITE_LIMIT_VDBE_OP, kInstructions},
    std::pair{SQLITE_LIMIT_ATTACHED, 0},
    std::pair{SQLITE_LIMIT_WORKER_THREADS, 0},
}};

} // namespace

CGuardLimits::CGuardLimits(sqlite3* connection)
    : m_connection(connection), m_regexpLimit(kRegexpCost) {
    for (std::size_t index = 0; index < kLimits.size(); ++index) {
        m_previous[index] = sqlite3_limit(connection, kLimits[index].first, kLimits[index].second);
    }
    // Reading the limits changes nothing; a limit of the host's that is lower stays.
    m_previousSoftLimit = sqlite3_soft_heap_limit64(-1);
    m_previousHardLimit = sqlite3_hard_heap_limit64(-1);
    const sqlite3_int64 limit = sqlite3_memory_used() + kMemory;
    if (m_previousHardLimit == 0 || limit < m_previousHardLimit) {
        sqlite3_hard_heap_limit64(limit);
    }
}

CGuardLimits::~CGuardLimits() {
    sqlite3_hard_heap_limit64(m_previousHardLimit);
    // Setting a hard limit had lowered the soft one with it.
    sqlite3_soft_heap_limit64(m_previousSoftLimit);
    for (std::size_t index = 0; index < kLimits.size(); ++index) {
        sqlite3_limit(m_connection, kLimits[index].first, m_previous[index]);
    }
}

} // namespace Nax::FrontEnd::XMLDB
