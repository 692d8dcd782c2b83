// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"
#include "rule_options.h"

#include <ostream>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Writes id, severity and name of every rule.
ExitCode ListRules(const SRuleSources& sources, std::ostream& out, std::ostream& err);
/// Writes all there is to say of one rule; `id` is a rule's or "schema".
ExitCode ExplainRule(const SRuleSources& sources, const std::string& id, std::ostream& out,
                     std::ostream& err);
/// Tells every fault of files of rules or actions, without running anything of them. Clean,
/// Findings for faults, Failure for a file that cannot be read.
ExitCode CheckRuleFiles(const std::vector<std::string>& files, bool withBuiltInRules,
                        const SSchemaFiles& schema, std::ostream& out, std::ostream& err);

} // namespace LandscapeValidator
