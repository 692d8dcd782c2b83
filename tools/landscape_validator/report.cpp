// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "backups.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

constexpr char kPage[] = "ValidationResults.htm";
constexpr char kRulesPage[] = "LandscapeValidationRules.htm";
constexpr int kRulesPageResource = 201;

// The export as a whole succeeds when its last part does, so each file is looked for.
constexpr const char* kJsonFiles[] = {"FilterAllRules.json", "FilterAllFiles.json",
                                      "RulesDependingOnFile.json", "EllipseResult.json"};

constexpr int kToFiles = 0;
constexpr int kToPage = 1;

} // namespace

CReport::CReport(CDBProcessor& processor, CRulesProcessor& rules, const CWorkFolder& folder)
    : m_processor(processor), m_rules(rules), m_work(folder), m_folder(folder.GetReportFolder()) {}

bool CReport::Check(bool done, const std::string& what) {
    if (!done && m_failure.empty()) {
        m_failure = what;
        if (const std::string cause = CRulesProcessor::GetReportFailure(); !cause.empty()) {
            m_failure += ": " + cause;
        }
    }
    return done;
}

bool CReport::Write(bool withJson) {
    const _bstr_t folder(m_folder.c_str());
    CRulesProcessor::StartNewReport();
    Check(m_rules.PostProcess(_bstr_t(), folder, kToPage, 0, 0, _bstr_t()) && IsPageComplete(),
          "the report page cannot be written");
    if (withJson) {
        Check(m_rules.ExecuteExport(folder, kToFiles, 0, 0, _bstr_t()) && HasJsonFiles(),
              "the JSON files cannot be written");
    }
    m_rules.GenerateReport();
    Check(WriteRulesPage(), "the rules' documentation cannot be written");
    return m_failure.empty();
}

bool CReport::Publish(const std::vector<std::string>& others) {
    // Also what only the trace tells, and what came after Write.
    const std::string cause = CRulesProcessor::GetReportFailure();
    if (m_failure.empty() && !cause.empty()) {
        m_failure = "the report cannot be written: " + cause;
    }
    std::vector<std::string> outdated(std::begin(kJsonFiles), std::end(kJsonFiles));
    outdated.insert(outdated.end(), others.begin(), others.end());
    std::string reason;
    if (m_failure.empty() && !m_work.MoveReport(outdated, kPage, reason)) {
        m_failure = "the report cannot be written: " + reason;
    }
    return m_failure.empty();
}

bool CReport::HasJsonFiles() const {
    return std::all_of(std::begin(kJsonFiles), std::end(kJsonFiles), [this](const char* name) {
        std::error_code error;
        return fs::is_regular_file(fs::path(m_folder) / name, error);
    });
}

bool CReport::IsPageComplete() {
    errno = 0;
    std::ifstream file(PagePath(m_folder), std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        if (line.find("JSON.parse(\"replacementholder.") != std::string::npos) {
            return false;
        }
    }
    if (!file.eof() && errno != 0 && CRulesProcessor::GetReportFailure().empty()) {
        Check(false, "the report page cannot be read: " + std::generic_category().message(errno));
    }
    return file.eof();
}

bool CReport::WriteRulesPage() {
    errno = 0;
    std::ofstream file(fs::path(m_folder) / kRulesPage, std::ios::binary);
    file << CXmlDbDocument::LoadInternalResource(kRulesPageResource, nullptr);
    const int code = file ? 0 : errno;
    file.close();
    if (!file) {
        const auto reason = std::generic_category().message(code == 0 ? errno : code);
        Check(false, "the rules' documentation cannot be written: " + reason);
    }
    return static_cast<bool>(file);
}

std::string CReport::PagePath(const std::string& outputFolder) {
    return (fs::path(outputFolder) / kPage).string();
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
