// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_node.h"

#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// Lists of the nodes as they are now; later changes of the tree do not show in them.
_com_ptr_t<IXMLDOMNodeList> MakeNodeList(std::shared_ptr<CXmlTree> tree,
                                         std::vector<xmlNodePtr> nodes);
_com_ptr_t<IXMLDOMNamedNodeMap> MakeNamedNodeMap(std::shared_ptr<CXmlTree> tree,
                                                 std::vector<xmlNodePtr> nodes);

/// A node's name with its prefix.
std::string QualifiedNameOf(xmlNodePtr node);

} // namespace Nax::FrontEnd::XMLDB
