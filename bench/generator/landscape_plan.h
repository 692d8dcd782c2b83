// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "landscape_model.h"
#include "split_mix.h"

namespace Nax::FrontEnd::XMLDB::Bench {

/// How many entries of each kind a generated landscape has, and what they are called. Every answer
/// is a function of the seed and the arguments, so that an entry can refer to another one that was
/// never kept.
class CLandscapePlan {
public:
    std::uint64_t seed = 0;

    std::size_t& Count(EKind kind) { return m_counts.at(static_cast<std::size_t>(kind)); }
    std::size_t Count(EKind kind) const { return m_counts.at(static_cast<std::size_t>(kind)); }

    /// The uuid that the entry has as long as no fault changes it.
    std::string Uuid(EKind kind, std::size_t number) const;
    /// The message server that a web dispatcher serves.
    std::string WebdispatcherMsid(std::size_t number) const;
    CSplitMix RandomFor(EKind kind, std::size_t number) const;

private:
    std::uint64_t Key(EKind kind, std::size_t number) const;

    std::array<std::size_t, REPOSITORY_COUNT> m_counts{};
};

/// 32 hexadecimal digits in groups of 8, 4, 4, 4 and 12.
std::string FormatUuid(std::uint64_t high, std::uint64_t low);

} // namespace Nax::FrontEnd::XMLDB::Bench
