// SPDX-License-Identifier: Apache-2.0
#include "result_limit.h"

#include <naxfewxmldb/database.h>

#include <fmt/format.h>

#include <memory>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

// What a finding counts: one, or the room that its texts take. That a rule found nothing is none.
constexpr char kWeight[] =
    "max(1, (length(coalesce(ResultDescription, '')) + length(coalesce(UUID, ''))) / 200)";
constexpr char kCount[] =
    "SELECT count(*), coalesce(sum({}), 0) > {} FROM ValidationResults WHERE ResultId NOT IN ('1', "
    "'4')";
// Rules that could not run, errors, warnings, the rest. The first thousand of each rule come before
// all others: a rule that finds too much must not hide what the others have found.
constexpr char kRemove[] =
    "DELETE FROM ValidationResults WHERE pk IN (SELECT pk FROM (SELECT pk, sum(weight) OVER (ORDER "
    "BY number > 1000, CASE ResultId WHEN '2' THEN 0 WHEN '0' THEN 1 WHEN '5' THEN 2 ELSE 3 END, "
    "pk) AS total FROM (SELECT pk, ResultId, {} AS weight, row_number() OVER (PARTITION BY RuleId "
    "ORDER BY pk) AS number FROM ValidationResults WHERE ResultId NOT IN ('1', '4'))) "
    "WHERE total > {})";

struct SCount {
    std::uint64_t results = 0;
    bool isBeyond = false;
};

SCount CountResults(CDBProcessor& processor, std::uint64_t limit) {
    std::shared_ptr<IRecordset> rows;
    const bool counted =
        processor.DB_ExecuteQuery(fmt::format(kCount, kWeight, limit).c_str(), rows) &&
        rows->MoveNext();
    return counted ? SCount{static_cast<std::uint64_t>(rows->GetInt(0)), rows->GetInt(1) != 0}
                   : SCount();
}

} // namespace

std::uint64_t RemoveResultsBeyond(CDBProcessor& processor, std::uint64_t limit) {
    const SCount before = CountResults(processor, limit);
    if (!before.isBeyond ||
        !processor.DB_ExecuteQuery(fmt::format(kRemove, kWeight, limit).c_str())) {
        return 0;
    }
    return before.results - CountResults(processor, limit).results;
}

} // namespace LandscapeValidator
