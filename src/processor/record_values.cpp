// SPDX-License-Identifier: Apache-2.0
#include "processor/record_values.h"

#include <algorithm>
#include <cstddef>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view kMarkerStart = "f_";
constexpr std::string_view kEmptyValue = "'',";
constexpr std::string_view kData = "data";

bool IsLookedUp(std::string_view column) {
    return !column.empty() && column != "file_id";
}

void DeleteMarker(std::string& text, std::string_view column) {
    std::string marker(kMarkerStart);
    marker.append(column).append(":");
    std::size_t at = text.find(marker);
    if (at == std::string::npos) {
        text.insert(0, kEmptyValue);
        return;
    }
    std::string rest;
    std::size_t from = 0;
    for (; at != std::string::npos; at = text.find(marker, from)) {
        rest.append(text, from, at - from);
        from = at + marker.size();
    }
    rest.append(text, from);
    text = std::move(rest);
}

/// Finds all markers of a text in one walk and cuts them out.
class CMarkerCutter {
public:
    CMarkerCutter(std::string_view text, const std::vector<std::string>& columns)
        : m_text(text), m_columns(columns), m_seen(columns.size() + 1, false) {}

    /// False when cutting all at once might differ from cutting one after the other.
    bool Cut() {
        if (std::find(m_columns.begin(), m_columns.end(), kData) != m_columns.end()) {
            return false;
        }
        m_kept.reserve(m_text.size());
        for (std::size_t at = m_text.find(kMarkerStart); at != std::string_view::npos;
             at = m_text.find(kMarkerStart, at + 1)) {
            if (!Visit(at)) {
                return false;
            }
        }
        m_kept.append(m_text.substr(m_from));
        return true;
    }

    std::string ValueList() const {
        std::string list;
        list.reserve(m_kept.size() + kEmptyValue.size());
        for (std::size_t column = 0; column < m_seen.size(); ++column) {
            const bool wanted = column == m_columns.size() || IsLookedUp(m_columns[column]);
            if (wanted && !m_seen[column]) {
                list.append(kEmptyValue);
            }
        }
        return list.append(m_kept);
    }

private:
    bool Visit(std::size_t at) {
        const std::size_t nameBegin = at + kMarkerStart.size();
        const std::size_t colon = m_text.find(':', nameBegin);
        if (colon == std::string_view::npos) {
            return true;
        }
        const std::size_t column = FindColumn(m_text.substr(nameBegin, colon - nameBegin));
        if (column == kNone) {
            return true;
        }
        if (at < m_from || !IsSafeBefore(at)) {
            return false;
        }
        m_seen[column] = true;
        m_kept.append(m_text.substr(m_from, at - m_from));
        m_from = colon + 1;
        return true;
    }

    // A colon ends a marker and a comma is part of none, so nothing can grow together across them.
    bool IsSafeBefore(std::size_t at) const {
        return at == 0 || m_text[at - 1] == ',' || m_text[at - 1] == ':';
    }

    /// The markers mostly come in column order, so the search begins behind the last hit.
    std::size_t FindColumn(std::string_view name) {
        if (name == kData) {
            return m_columns.size();
        }
        if (!IsLookedUp(name)) {
            return kNone;
        }
        for (std::size_t tried = 0; tried < m_columns.size(); ++tried) {
            const std::size_t column = (m_next + tried) % m_columns.size();
            if (m_columns[column] == name) {
                m_next = column + 1;
                return column;
            }
        }
        return kNone;
    }

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    std::string_view m_text;
    const std::vector<std::string>& m_columns;
    std::vector<bool> m_seen; ///< one entry a column, and the last for the data marker
    std::string m_kept;
    std::size_t m_from = 0;
    std::size_t m_next = 0;
};

} // namespace

std::string MakeValueListStepwise(std::string text, const std::vector<std::string>& columns) {
    for (const std::string& column : columns) {
        if (IsLookedUp(column)) {
            DeleteMarker(text, column);
        }
    }
    DeleteMarker(text, kData);
    return text;
}

std::string MakeValueList(std::string_view text, const std::vector<std::string>& columns) {
    CMarkerCutter cutter(text, columns);
    return cutter.Cut() ? cutter.ValueList() : MakeValueListStepwise(std::string(text), columns);
}

} // namespace Nax::FrontEnd::XMLDB
