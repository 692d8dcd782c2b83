// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Nax::FrontEnd::XMLDB {

/// The list of the process's modules as the trace shows it, without the line feed before it.
std::string DescribeLoadedModules();

} // namespace Nax::FrontEnd::XMLDB
