// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;
class IRule;

/// The results as HTML for readers without scripts: the overall result and two tables, of the rules
/// and of the files, each row with its status and its number of results.
///
/// Asks the database with the bodies of the four built-in exports, so it says what the page says.
/// Empty when one of them is missing among `exportRules` or its body cannot be used this way.
std::string MakePageSummary(CDBProcessor& processor,
                            const std::vector<std::shared_ptr<IRule>>& exportRules);

} // namespace Nax::FrontEnd::XMLDB
