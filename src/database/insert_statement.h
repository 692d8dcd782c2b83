// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// An INSERT taken apart: the text up to "VALUES (" and the literals behind it.
///
/// Understands exactly `INSERT INTO table (columns) VALUES (literal, ...)` with text literals,
/// concatenations of text literals, whole numbers of up to 18 digits and NULL, and says no to
/// everything else, so that what it accepts means the same bound as parsed by SQLite. One object
/// is reused for many statements; its buffers are kept.
class CInsertStatement {
public:
    enum class EKind : std::uint8_t { Null, Integer, Text };

    struct SLiteral {
        EKind kind;
        std::int64_t number;
        std::size_t begin; ///< text in m_text
        std::size_t length;
    };

    /// False when `sql` is no such statement. The views below stay valid until the next call, the
    /// prefix as long as `sql`.
    bool Parse(std::string_view sql);

    std::string_view GetPrefix() const { return m_prefix; }
    const std::vector<SLiteral>& GetLiterals() const { return m_literals; }
    std::string_view GetText(const SLiteral& literal) const {
        return std::string_view(m_text).substr(literal.begin, literal.length);
    }

private:
    bool ParsePrefix(std::string_view sql);
    bool ParseLiteral(std::string_view sql, std::size_t& at);
    bool ParseText(std::string_view sql, std::size_t& at);
    bool ParseInteger(std::string_view sql, std::size_t& at);

    std::string_view m_prefix;
    std::string m_lastPrefix;
    std::vector<SLiteral> m_literals;
    std::string m_text;
};

} // namespace Nax::FrontEnd::XMLDB
