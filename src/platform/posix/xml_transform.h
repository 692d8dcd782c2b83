// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "xml_tree.h"

namespace Nax::FrontEnd::XMLDB {

/// Applies a stylesheet and gives the result's text in UTF-8, whatever encoding it declares.
///
/// A stylesheet never writes, never runs anything and never uses a network. It may include other
/// local stylesheets; document() reads local files only when `allowDocument` is true. Throws
/// CXmlFailure with the processor's messages when the stylesheet is faulty, when it fails or when
/// something that it asked for could not be read.
std::string Transform(const SXmlText& source, const SXmlText& stylesheet, bool allowDocument);

} // namespace Nax::FrontEnd::XMLDB
