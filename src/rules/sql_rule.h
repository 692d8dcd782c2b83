// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/rule.h>

#include <memory>
#include <string>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;

/// A validation rule whose body is SQL that writes one row per finding into `ValidationResults`.
///
/// Shares ownership of the database processor. A failing statement of the body becomes a row with
/// result code 2, and the statements after it still run. PostRun adds the "passed" row or stamps
/// the rule's texts and code onto its findings. One thread at a time.
class CSqlRule : public virtual IRule {
public:
    explicit CSqlRule(const std::shared_ptr<CDBProcessor>& processor);
    ~CSqlRule() override;

    bool Initialize() override;
    bool Finalize() override;
    /// The success of the last statement that was executed.
    bool Run() override;
    CStringA PostRun() override;
    CStringA PreprocessQuery(const CStringA& query) override;

private:
    bool RunPiece(std::size_t number, std::size_t count, const std::string& piece);
    bool InsertRuntimeError();
    bool CountFindings(int& count);
    std::string PassedStatement() const;
    std::string ViolationsStatement() const;
    std::string Escaped(const CStringA& text) const;

    std::shared_ptr<CDBProcessor> m_processor;
};

} // namespace Nax::FrontEnd::XMLDB
