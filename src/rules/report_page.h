// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// The report page as pieces of its template and the values put between them.
///
/// A value is never searched again, so a text from the data that reads like a placeholder stays
/// what it is, and filling costs nothing for the tens of megabytes already filled in. One thread
/// at a time.
class CReportPage {
public:
    CReportPage() = default;
    explicit CReportPage(std::string templateText);

    /// Puts `value` in the place of every "ReplacementHolder." + `name`, in any case of letters,
    /// that no letter, digit or underscore follows. False when there is none (any more).
    bool Fill(std::string_view name, const std::string& value);
    std::string Render() const;

private:
    struct SPiece {
        std::string text;
        bool isValue;
    };

    std::vector<SPiece> m_pieces;
};

/// `text` for the inside of a double-quoted string literal of a script in an HTML page: what the
/// literal then holds is `text`, and no part of it can end the literal or the script.
std::string EscapeForScript(std::string_view text);

} // namespace Nax::FrontEnd::XMLDB
