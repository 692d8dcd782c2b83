// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

/// The part of a path behind the last separator ("/" or "\") and without a drive, made a name that
/// every system takes for a plain file name. See SSupportLandscapeFile::path.
std::string PlainFileName(std::string_view path);

/// Gives each file of one folder a name of its own: a second "l.xml" becomes "l (2).xml". Letter
/// case (ASCII) makes no difference, since it makes none where archives are usually unpacked.
class CUniqueFileNames {
public:
    /// `name` as PlainFileName has made it, or with a number.
    std::string Take(const std::string& name);

private:
    std::map<std::string, int> m_numbers; ///< by name in capitals, the last number tried
};

} // namespace Nax::FrontEnd::XMLDB
