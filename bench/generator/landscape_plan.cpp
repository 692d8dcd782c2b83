// SPDX-License-Identifier: Apache-2.0
#include "landscape_plan.h"

#include <string_view>

namespace Nax::FrontEnd::XMLDB::Bench {

std::string CLandscapePlan::Uuid(EKind kind, std::size_t number) const {
    CSplitMix bits(Key(kind, number));
    const std::uint64_t high = bits.Next();
    return FormatUuid(high, bits.Next());
}

std::string CLandscapePlan::WebdispatcherMsid(std::size_t number) const {
    const std::uint64_t choice = CSplitMix::Mix(Key(EKind::Webdispatcher, number));
    return Uuid(EKind::Messageserver, choice % Count(EKind::Messageserver));
}

CSplitMix CLandscapePlan::RandomFor(EKind kind, std::size_t number) const {
    return CSplitMix(~Key(kind, number));
}

std::uint64_t CLandscapePlan::Key(EKind kind, std::size_t number) const {
    const std::uint64_t kindKey = CSplitMix::Mix(seed + 1) + static_cast<std::uint64_t>(kind);
    return CSplitMix::Mix(kindKey) + CSplitMix::Mix(number + 1);
}

std::string FormatUuid(std::uint64_t high, std::uint64_t low) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    constexpr std::string_view SHAPE = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    std::string uuid(SHAPE);
    std::size_t digit = 0;
    for (char& c : uuid) {
        if (c == 'x') {
            const std::uint64_t half = digit < 16 ? high : low;
            c = DIGITS[(half >> (60U - 4U * (digit % 16))) & 0xfU];
            ++digit;
        }
    }
    return uuid;
}

} // namespace Nax::FrontEnd::XMLDB::Bench
