// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Nax::FrontEnd::XMLDB {

/// Bounds what one match may cost on this thread while the object lives, in instructions times
/// bytes. Nobody can interrupt a match, so where a pattern is not trusted it must not begin.
class CRegexpCostLimit {
public:
    explicit CRegexpCostLimit(std::uint64_t limit) : m_previous(s_limit) { s_limit = limit; }
    CRegexpCostLimit(const CRegexpCostLimit&) = delete;
    CRegexpCostLimit& operator=(const CRegexpCostLimit&) = delete;
    ~CRegexpCostLimit() { s_limit = m_previous; }

    static bool Allows(std::uint64_t instructions, std::uint64_t bytes) {
        return bytes == 0 || instructions <= s_limit / bytes;
    }

private:
    static inline thread_local std::uint64_t s_limit = UINT64_MAX;

    std::uint64_t m_previous;
};

} // namespace Nax::FrontEnd::XMLDB
