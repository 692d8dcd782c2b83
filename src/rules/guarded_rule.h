// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/sql_rule.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// A validation rule from elsewhere: its body runs behind a guard that lets it insert results of
/// its own and change nothing else.
///
/// The first statement that is denied, is stopped or fails ends the rule: its rows are dropped and
/// one row with result code 2 says why. None of its texts reaches a statement unescaped. Otherwise
/// as CSqlRule.
class CGuardedRule : public CSqlRule {
public:
    /// `charactersLeft` is what the findings of all rules that share it may yet hold.
    CGuardedRule(const std::shared_ptr<CDBProcessor>& processor,
                 std::chrono::milliseconds timeLimit,
                 const std::shared_ptr<std::uint64_t>& charactersLeft);
    ~CGuardedRule() override;

    bool Run() override;
    CStringA PostRun() override;
    /// A text for each fault of the body; see CRulesProcessor::CheckBody.
    std::vector<std::string> Check();

private:
    std::string RunBody();
    bool InsertFailure(const std::string& reason);
    std::vector<std::string> Statements() const;

    std::shared_ptr<CDBProcessor> m_processor;
    std::chrono::milliseconds m_timeLimit;
    std::shared_ptr<std::uint64_t> m_charactersLeft;
};

/// "statement 2 of 3: " where there are several.
std::string StatementLabel(std::size_t index, std::size_t count);

} // namespace Nax::FrontEnd::XMLDB
