// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_model.h"

#include <map>
#include <string>

namespace LandscapeValidator {

/// What the program's definitions say, by the line of a template that it replaces ("%OPTIONS%").
/// Texts end with a line feed.
using Parts = std::map<std::string, std::string>;

Parts ManualPageParts(const SCommandModel& program);
Parts BashParts(const SCommandModel& program);
Parts ZshParts(const SCommandModel& program);

/// The kind as the completions' shell functions know it: "folder", "words error warning".
std::string KindText(const SValueKind& kind);

} // namespace LandscapeValidator
