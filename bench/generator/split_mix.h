// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace Nax::FrontEnd::XMLDB::Bench {

/// A small pseudo-random sequence (SplitMix64). Unlike the distributions of the standard library it
/// gives the same numbers with every compiler, so a seed names one landscape everywhere.
class CSplitMix {
public:
    explicit CSplitMix(std::uint64_t seed) : m_state(seed) {}

    static std::uint64_t Mix(std::uint64_t value) {
        value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9U;
        value = (value ^ (value >> 27U)) * 0x94d049bb133111ebU;
        return value ^ (value >> 31U);
    }

    std::uint64_t Next() {
        m_state += 0x9e3779b97f4a7c15U;
        return Mix(m_state);
    }

    /// A number from 0 to bound - 1; the bound must not be 0.
    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(Next() % bound); }

    bool Chance(double probability) {
        constexpr double Unit = 1.0 / static_cast<double>(std::uint64_t{1} << 53U);
        return static_cast<double>(Next() >> 11U) * Unit < probability;
    }

private:
    std::uint64_t m_state;
};

} // namespace Nax::FrontEnd::XMLDB::Bench
