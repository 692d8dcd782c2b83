// SPDX-License-Identifier: Apache-2.0
#include "action_export.h"

#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

constexpr int kToFiles = 0;

std::string DescribeFailure(const SRuleElement& element, const std::string& reason) {
    return SFileFault{
        element.file, element.line,
        "action " + element.Get("id") + " wrote no " + element.Get("output") + ": " + reason}
        .Describe();
}

} // namespace

std::string ExportActions(CRulesProcessor& processor, const CRuleSet& rules,
                          const std::string& folder) {
    if (rules.GetActions().empty()) {
        return {};
    }
    const std::vector<std::shared_ptr<IRule>> builtIn = processor.GetRulesExport();
    processor.SetRulesExport({});
    std::vector<std::shared_ptr<IRule>> actions;
    for (const SRuleElement& element : rules.GetActions()) {
        actions.push_back(AddAction(processor, element, rules.GetTimeLimit()));
        std::error_code ignored;
        fs::remove(fs::path(folder) / element.Get("output"), ignored);
    }
    const _bstr_t target(folder.c_str());
    const bool exported = processor.ExecuteExport(target, kToFiles, 0, 0, target);
    processor.SetRulesExport(builtIn);
    std::string failure;
    for (std::size_t index = 0; index < actions.size(); ++index) {
        const std::string reason = actions[index]->reserved.GetString();
        if (!reason.empty()) {
            failure +=
                (failure.empty() ? "" : "\n") + DescribeFailure(rules.GetActions()[index], reason);
        }
    }
    return exported || !failure.empty() ? failure : "the files of the actions cannot be written";
}

} // namespace LandscapeValidator
