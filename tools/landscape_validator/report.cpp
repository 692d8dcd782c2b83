// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "backups.h"

#include <algorithm>
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

// The export as a whole succeeds when its last part does, so each file is looked for. Those of an
// earlier run are removed: they would tell of another landscape than the page beside them.
constexpr const char* kJsonFiles[] = {"FilterAllRules.json", "FilterAllFiles.json",
                                      "RulesDependingOnFile.json", "EllipseResult.json"};

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
    RemoveJsonFiles();
    CRulesProcessor::StartNewReport();
    bool written =
        Check(m_rules.PostProcess(_bstr_t(), folder, kToPage, 0, 0, _bstr_t()) && IsPageComplete(),
              "the report page cannot be written");
    if (withJson) {
        written = Check(m_rules.ExecuteExport(folder, kToFiles, 0, 0, _bstr_t()) && HasJsonFiles(),
                        "the JSON files cannot be written") &&
                  written;
    }
    m_rules.GenerateReport();
    return Check(WriteRulesPage(), "the rules' documentation cannot be written") && written;
}

void CReport::RemoveJsonFiles() const {
    for (const char* name : kJsonFiles) {
        const fs::path path = fs::path(m_folder) / name;
        std::error_code error;
        if (fs::is_regular_file(path, error)) {
            fs::remove(path, error);
        }
    }
}

bool CReport::HasJsonFiles() const {
    return std::all_of(std::begin(kJsonFiles), std::end(kJsonFiles), [this](const char* name) {
        std::error_code error;
        return fs::is_regular_file(fs::path(m_folder) / name, error);
    });
}

bool CReport::IsPageComplete() const {
    std::ifstream file(GetPagePath(), std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        if (line.find("JSON.parse(\"replacementholder.") != std::string::npos) {
            return false;
        }
    }
    return file.eof();
}

bool CReport::WriteRulesPage() {
    std::ofstream file(fs::path(m_folder) / kRulesPage, std::ios::binary);
    file << CXmlDbDocument::LoadInternalResource(kRulesPageResource, nullptr);
    return static_cast<bool>(file.flush());
}

std::string CReport::GetPagePath() const {
    return (fs::path(m_folder) / kPage).string();
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
