// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// Splitting, trimming, replacing and XML escaping of narrow text. Immutable after construction:
/// may be used by several threads. Nothing fails except for want of memory.
class NAXFEWXMLDB_EXPORT TextProcessor {
public:
    using Replacements = std::vector<std::pair<std::string, std::string>>;

    TextProcessor();

    /// The pieces between the separators: always one more than there are separators, empty ones
    /// included.
    std::vector<std::string> Split(std::string_view text, char separator) const;

    /// Replaces every occurrence of each search text, pair by pair in list order: a later pair
    /// sees what an earlier one wrote. An empty search text is skipped.
    std::string ReplaceAll(std::string text, const Replacements& replacements) const;
    /// The same over two parallel lists; surplus entries of the longer one are ignored.
    std::string ReplaceAll(std::string text, const std::vector<std::string>& searches,
                           const std::vector<std::string>& replacements) const;

    /// Doubles single quotes, for use between single quotes in SQL.
    std::string EscapeSql(std::string text) const;
    /// Replaces each character of the XML escape table once.
    std::string EscapeXml(std::string_view text) const;

    /// True for what a terminal obeys, and for what turns the order of the text around it, ends its
    /// line or cannot be seen: control characters of both sets, marks of direction, separators of
    /// lines and paragraphs, tags, marks of annotations, and blanks and hyphens without width; the
    /// joiners, which scripts need, are not.
    static bool IsControl(char32_t character);
    /// A question mark for each such character that is not in `kept`. What is no UTF-8 becomes
    /// U+FFFD.
    static std::string ReplaceControls(std::string_view text, std::string_view kept);

    /// Without leading or trailing blanks and white space characters.
    std::string_view TrimLeft(std::string_view text) const;
    std::string_view TrimRight(std::string_view text) const;

private:
    bool IsBlank(char character) const;

    std::vector<std::string> m_whitespace;
    Replacements m_xmlEscapes;
};

} // namespace Nax::FrontEnd::XMLDB
