// SPDX-License-Identifier: Apache-2.0
#include "result_limit.h"

#include <naxfewxmldb/database.h>

#include <fmt/format.h>

#include <memory>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr char kCount[] = "SELECT count(*) FROM ValidationResults";
// Rules that could not run, errors, warnings, the rest. The first thousand of each rule come before
// all others: a rule that finds too much must not hide what the others have found.
constexpr char kRemove[] =
    "DELETE FROM ValidationResults WHERE pk IN (SELECT pk FROM ValidationResults ORDER BY "
    "row_number() OVER (PARTITION BY RuleId ORDER BY pk) > 1000, "
    "CASE ResultId WHEN '2' THEN 0 WHEN '0' THEN 1 WHEN '5' THEN 2 ELSE 3 END, pk "
    "LIMIT -1 OFFSET {})";

std::uint64_t CountResults(CDBProcessor& processor) {
    std::shared_ptr<IRecordset> rows;
    const bool counted = processor.DB_ExecuteQuery(kCount, rows) && rows->MoveNext();
    return counted ? static_cast<std::uint64_t>(rows->GetInt(0)) : 0;
}

} // namespace

std::uint64_t RemoveResultsBeyond(CDBProcessor& processor, std::uint64_t limit) {
    const std::uint64_t count = CountResults(processor);
    if (count <= limit || !processor.DB_ExecuteQuery(fmt::format(kRemove, limit).c_str())) {
        return 0;
    }
    return count - limit;
}

} // namespace LandscapeValidator
