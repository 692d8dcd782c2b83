// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/naxfewxmldb.h>

namespace LandscapeValidator {

/// Indexes for the time of a rule run: on the ids that the rules compare, on the names by which
/// schema findings look for their files, and on the rule that a finding belongs to. The rules ask
/// the same tables dozens of times for the same ids; with an index the database answers from that
/// instead of building a list for each question.
///
/// While the rules run only the two tables that hold nearly all entries have indexes. One on the
/// small tables as well would lead the planner, which knows no sizes, to build the list of all
/// services and of all items for each of the eight rules that compare all repositories, instead
/// of looking the few ids up. Without any index (a table may be missing) a rule is slower, not
/// wrong.
class CRuleIndexes {
public:
    explicit CRuleIndexes(Nax::FrontEnd::XMLDB::CDBProcessor& processor);
    CRuleIndexes(const CRuleIndexes&) = delete;
    CRuleIndexes& operator=(const CRuleIndexes&) = delete;
    /// Removes the indexes: the tables are to be read as the schema made them.
    ~CRuleIndexes();

    /// Indexes on the ids of all other tables, too: for looking entries up one by one.
    void AddForLookUps();

private:
    Nax::FrontEnd::XMLDB::CDBProcessor& m_processor;
};

} // namespace LandscapeValidator
