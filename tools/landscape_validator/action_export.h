// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rule_set.h"

#include <string>

namespace LandscapeValidator {

/// Runs the actions of the user's files and writes their JSON files into `folder`, where files of
/// those names from an earlier run are removed first. To be called after the report; the built-in
/// actions stay loaded. Returns what failed, one line an action; empty when nothing did.
std::string ExportActions(Nax::FrontEnd::XMLDB::CRulesProcessor& processor, const CRuleSet& rules,
                          const std::string& folder);

} // namespace LandscapeValidator
