// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "findings.h"
#include "formats/report_model.h"

#include <deque>

namespace LandscapeValidator {

/// The findings that the printed summary shows when some are hidden or known: those of `all` that
/// the report has as new and not hidden. Of a file's violations of the schema only such are left,
/// and a file without any has no finding. `all` and the report must outlive it.
class CShownFindings {
public:
    CShownFindings(const SFindings& all, const SReport& report);

    const SFindings& Get() const { return m_shown; }

private:
    void AddFinding(const SFinding& finding, const std::vector<const SReportFinding*>& parts);
    void CountRules(const SFindings& all);

    SFindings m_shown;
    std::deque<Nax::FrontEnd::XMLDB::SXmlValidationResult> m_violations;
};

} // namespace LandscapeValidator
