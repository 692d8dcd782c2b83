// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/rule.h>

namespace Nax::FrontEnd::XMLDB {

IRule::IRule() = default;
IRule::~IRule() = default;

} // namespace Nax::FrontEnd::XMLDB
