// SPDX-License-Identifier: Apache-2.0
#include "landscape_faults.h"

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB::Bench {

namespace {

enum class EFault {
    DuplicateUuid,
    DuplicateAlike,
    MalformedUuid,
    EmptyUuid,
    SharedUuid,
    DanglingRouter,
    DanglingMsid,
    DanglingDispatcher,
    DeadShortcut,
    DeadFavorite,
    WrongSncop,
    SecondItem,
    MalformedServiceId,
    InvalidValues,
    InvalidHidden,
    TornOut
};

constexpr std::array SERVICE_FAULTS = {
    EFault::DuplicateUuid, EFault::MalformedUuid, EFault::DanglingRouter,     EFault::InvalidValues,
    EFault::WrongSncop,    EFault::DanglingMsid,  EFault::DanglingDispatcher, EFault::DeadShortcut,
    EFault::DeadFavorite,  EFault::SharedUuid};
constexpr std::array ITEM_FAULTS = {EFault::MalformedUuid, EFault::DuplicateUuid,
                                    EFault::SecondItem,    EFault::MalformedServiceId,
                                    EFault::InvalidHidden, EFault::SharedUuid};
constexpr std::array WORKSPACE_FAULTS = {EFault::DuplicateUuid, EFault::EmptyUuid,
                                         EFault::SharedUuid};
constexpr std::array NODE_FAULTS = {EFault::TornOut, EFault::DuplicateUuid, EFault::MalformedUuid,
                                    EFault::EmptyUuid, EFault::SharedUuid};
constexpr std::array MESSAGESERVER_FAULTS = {EFault::DuplicateUuid, EFault::DuplicateAlike,
                                             EFault::MalformedUuid, EFault::SharedUuid};
constexpr std::array ROUTER_FAULTS = {EFault::DuplicateUuid, EFault::MalformedUuid,
                                      EFault::SharedUuid};
constexpr std::array WEBDISPATCHER_FAULTS = {EFault::DanglingMsid, EFault::DuplicateUuid,
                                             EFault::SharedUuid};
constexpr std::array LDAP_FAULTS = {EFault::DuplicateUuid, EFault::SharedUuid};

std::span<const EFault> FaultsOf(EKind kind) {
    switch (kind) {
        case EKind::Service:
            return SERVICE_FAULTS;
        case EKind::Item:
            return ITEM_FAULTS;
        case EKind::Workspace:
            return WORKSPACE_FAULTS;
        case EKind::Node:
            return NODE_FAULTS;
        case EKind::Messageserver:
            return MESSAGESERVER_FAULTS;
        case EKind::Router:
            return ROUTER_FAULTS;
        case EKind::Webdispatcher:
            return WEBDISPATCHER_FAULTS;
        default:
            return LDAP_FAULTS;
    }
}

std::string RandomUuid(CSplitMix& random) {
    const std::uint64_t high = random.Next();
    return FormatUuid(high, random.Next());
}

// Never empty, so that a reference that holds it dangles.
std::string MalformedUuid(CSplitMix& random) {
    std::string uuid = RandomUuid(random);
    switch (random.Below(4)) {
        case 0:
            return "{" + uuid + "}";
        case 1:
            std::erase(uuid, '-');
            return uuid;
        case 2:
            uuid.front() = 'g';
            return uuid;
        default:
            uuid.pop_back();
            return uuid;
    }
}

std::string DanglingUuid(CSplitMix& random) {
    return random.Chance(0.25) ? RandomUuid(random) : MalformedUuid(random);
}

std::string UuidOfOtherKind(const CLandscapePlan& plan, EKind kind, std::size_t turn,
                            CSplitMix& random) {
    const std::size_t step = 1 + turn % (REPOSITORY_COUNT - 1);
    const auto other =
        static_cast<EKind>((static_cast<std::size_t>(kind) + step) % REPOSITORY_COUNT);
    return plan.Uuid(other, random.Below(plan.Count(other)));
}

void KillLink(SModelEntry& service, std::string_view shortcut, CSplitMix& random) {
    service.Set("shortcut", shortcut);
    service.Set("link", DanglingUuid(random));
}

void SetInvalidValues(SModelEntry& service, CSplitMix& random) {
    service.Set("type", "UNKNOWN");
    service.Set("client", "abc");
    if (random.Chance(0.5)) {
        service.Set("wp", "yes");
    }
}

} // namespace

bool TearsOut(std::size_t ordinal) {
    return NODE_FAULTS.at(ordinal % NODE_FAULTS.size()) == EFault::TornOut;
}

void BreakEntry(const CLandscapePlan& plan, SModelEntry& entry, std::size_t number,
                std::size_t ordinal, CSplitMix& random) {
    const std::span<const EFault> faults = FaultsOf(entry.kind);
    const std::size_t turn = ordinal / faults.size();
    const std::size_t neighbour = (number + 1) % plan.Count(entry.kind);
    switch (faults[ordinal % faults.size()]) {
        case EFault::DuplicateAlike:
            entry.Set("name", "MS" + std::to_string(neighbour));
            entry.Set("host", "ms" + std::to_string(neighbour) + ".example.org");
            [[fallthrough]];
        case EFault::DuplicateUuid:
            entry.Set("uuid", plan.Uuid(entry.kind, neighbour));
            break;
        case EFault::MalformedUuid:
            entry.Set("uuid", MalformedUuid(random));
            break;
        case EFault::EmptyUuid:
            entry.Set("uuid", "");
            break;
        case EFault::SharedUuid:
            entry.Set("uuid", UuidOfOtherKind(plan, entry.kind, turn, random));
            break;
        case EFault::DanglingRouter:
            entry.Set("routerid", DanglingUuid(random));
            break;
        case EFault::DanglingDispatcher:
            entry.Set("uses_webdispatcher", "1");
            [[fallthrough]];
        case EFault::DanglingMsid:
            entry.Set("msid", DanglingUuid(random));
            break;
        case EFault::DeadShortcut:
            KillLink(entry, "1", random);
            break;
        case EFault::DeadFavorite:
            KillLink(entry, "0", random);
            break;
        case EFault::WrongSncop:
            entry.Set("sncop", turn % 2 == 0 ? "12" : "5");
            break;
        case EFault::SecondItem:
            entry.Set("serviceid", plan.Uuid(EKind::Service, neighbour));
            break;
        case EFault::MalformedServiceId:
            entry.Set("serviceid", MalformedUuid(random));
            break;
        case EFault::InvalidValues:
            SetInvalidValues(entry, random);
            break;
        case EFault::InvalidHidden:
            entry.Set("hidden", "yes");
            break;
        case EFault::TornOut:
            break;
    }
}

} // namespace Nax::FrontEnd::XMLDB::Bench
