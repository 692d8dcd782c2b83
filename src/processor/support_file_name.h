// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// The part of a path behind the last separator ("/" or "\") and without a drive, made a name that
/// every system takes for a plain file name. See SSupportLandscapeFile::path.
std::string PlainFileName(std::string_view path);

} // namespace Nax::FrontEnd::XMLDB
