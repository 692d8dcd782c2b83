// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "backups.h"

#include <filesystem>
#include <fstream>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr char kPage[] = "ValidationResults.htm";
constexpr char kRulesPage[] = "LandscapeValidationRules.htm";
constexpr int kRulesPageResource = 201;

constexpr int kToFiles = 0;
constexpr int kToPage = 1;

} // namespace

CReport::CReport(CDBProcessor& processor, CRulesProcessor& rules, std::string folder)
    : m_processor(processor), m_rules(rules), m_folder(std::move(folder)) {}

bool CReport::Check(bool done, const std::string& what) {
    if (!done && m_failure.empty()) {
        m_failure = what;
    }
    return done;
}

bool CReport::Write(bool withJson) {
    const _bstr_t folder(m_folder.c_str());
    CRulesProcessor::StartNewReport();
    bool written = Check(m_rules.PostProcess(_bstr_t(), folder, kToPage, 0, 0, _bstr_t()),
                         "the report page cannot be written");
    if (withJson) {
        written = Check(m_rules.ExecuteExport(folder, kToFiles, 0, 0, _bstr_t()),
                        "the JSON files cannot be written") &&
                  written;
    }
    written = Check(m_rules.GenerateReport(), "the XML summary cannot be written") && written;
    return Check(WriteRulesPage(), "the rules' documentation cannot be written") && written;
}

bool CReport::WriteRulesPage() {
    std::ofstream file(std::filesystem::path(m_folder) / kRulesPage, std::ios::binary);
    file << CXmlDbDocument::LoadInternalResource(kRulesPageResource, nullptr);
    return static_cast<bool>(file.flush());
}

std::string CReport::GetPagePath() const {
    return (std::filesystem::path(m_folder) / kPage).string();
}

SPageCounts CReport::ReadPageCounts() const {
    return {CountStatuses("FilterAllFiles"), CountStatuses("FilterAllRules")};
}

StatusCounts CReport::CountStatuses(const std::string& exportName) const {
    StatusCounts counts;
    for (const std::shared_ptr<IRule>& rule : m_rules.GetRulesExport()) {
        std::shared_ptr<IRecordset> rows;
        if (rule->name != exportName.c_str() || !m_processor.DB_ExecuteQuery(rule->body, rows)) {
            continue;
        }
        while (rows->MoveNext()) {
            ++counts[rows->GetString("Status").GetString()];
        }
        break;
    }
    return counts;
}

int RemoveOldSummaries(const std::string& folder, int keep) {
    return RemoveOldFiles(folder, "Data_##-##-#### ##-##-##_.xml", keep);
}

} // namespace LandscapeValidator
