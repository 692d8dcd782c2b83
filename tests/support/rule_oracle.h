// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "landscape_model.h"

namespace Nax::FrontEnd::XMLDB::Testing {

/// A finding as the rules must report it. A NULL uuid reads as empty. Findings compare by all
/// fields, so sort both sides and compare the vectors: the order among findings means nothing, how
/// often one occurs does.
struct SExpectedFinding {
    int ruleId = 0;
    std::string uuid;
    int fileIndex = 0;
    std::string description;

    auto operator<=>(const SExpectedFinding&) const = default;
};

/// A row as the loader must store it; a column that is not there is NULL.
struct SRuleRow {
    int fileIndex = 0;
    std::map<std::string, std::string, std::less<>> columns;

    std::optional<std::string> Column(std::string_view name) const {
        const auto found = columns.find(name);
        return found == columns.end() ? std::nullopt : std::optional(found->second);
    }
};

/// The rows of each repository, in the order in which the files list them.
using TRuleTables = std::map<Bench::EKind, std::vector<SRuleRow>>;

/// Flattens the landscape: an absent attribute is an empty text when it is required or of type
/// GUID, else NULL; items and nodes carry the uuid of the element around them as "parent_id", which
/// outside of every workspace is empty for an item and NULL for a node.
TRuleTables TablesOf(const Bench::SLandscapeModel& model);

/// What the 33 rules find, read off their meaning with loops and maps: slow, without SQL, and with
/// nothing in common with the rules that the product runs. Sorted.
std::vector<SExpectedFinding> ExpectedFindings(const TRuleTables& tables);
std::vector<SExpectedFinding> ExpectedFindings(const Bench::SLandscapeModel& model);

} // namespace Nax::FrontEnd::XMLDB::Testing
