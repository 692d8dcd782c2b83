// SPDX-License-Identifier: Apache-2.0
#include "findings.h"
#include "formats/baseline.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <system_error>

namespace LandscapeValidator {

namespace {

using nlohmann::json;

constexpr int kVersion = 1;

/// What is wrong with a baseline, with its line as far as it is known.
class CBaselineFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Walks over a text for the parser and tells the line that it has come to.
class CLineCountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CLineCountingIterator(const char* place, long& line) : m_place(place), m_line(&line) {}
    reference operator*() const { return *m_place; }
    CLineCountingIterator& operator++() {
        *m_line += *m_place == '\n' ? 1 : 0;
        ++m_place;
        return *this;
    }
    bool operator==(const CLineCountingIterator& other) const { return m_place == other.m_place; }
    bool operator!=(const CLineCountingIterator& other) const { return m_place != other.m_place; }

private:
    const char* m_place;
    long* m_line;
};

/// The lines in which the objects of each list begin.
using ObjectLines = std::map<std::string, std::vector<long>>;

json Parse(const std::string& text, ObjectLines& lines) {
    long line = 1;
    std::string list;
    const auto watch = [&](int depth, json::parse_event_t event, json& value) {
        if (event == json::parse_event_t::key && depth == 1) {
            list = value.get<std::string>();
        } else if (event == json::parse_event_t::object_start && depth == 2) {
            lines[list].push_back(line);
        }
        return true;
    };
    try {
        return json::parse(CLineCountingIterator(text.data(), line),
                           CLineCountingIterator(text.data() + text.size(), line), watch);
    } catch (const json::parse_error& error) {
        // The library's text begins with its own id and place.
        const std::string what = error.what();
        const std::size_t colon = what.find(": ");
        throw CBaselineFault(fmt::format(
            "line {}: {}", line, colon == std::string::npos ? what : what.substr(colon + 2)));
    }
}

/// One object of a list, read member by member; what is left over is a fault.
class CEntryReader {
public:
    CEntryReader(const json& value, std::string where) : m_value(value), m_where(std::move(where)) {
        if (!value.is_object()) {
            Fail("an object is expected");
        }
    }

    [[noreturn]] void Fail(const std::string& why) const {
        throw CBaselineFault(m_where + ": " + why);
    }

    std::optional<std::string> Text(const char* key) const {
        const auto found = m_value.find(key);
        if (found == m_value.end()) {
            return std::nullopt;
        }
        if (!found->is_string()) {
            Fail(fmt::format("\"{}\" must be a text", key));
        }
        return found->get<std::string>();
    }

    int Rule() const {
        const auto found = m_value.find("rule");
        if (found == m_value.end()) {
            Fail("\"rule\" is missing");
        }
        if (found->is_string()) {
            const std::string& text = found->get_ref<const std::string&>();
            if (text == "schema") {
                return kSchemaRuleId;
            }
            int id = 0;
            const char* end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, id);
            if (error == std::errc() && stop == end) {
                return id;
            }
        } else if (found->is_number_integer()) {
            const auto id = found->get<std::int64_t>();
            if (id >= kSchemaRuleId && id <= std::numeric_limits<int>::max()) {
                return static_cast<int>(id);
            }
        }
        Fail("\"rule\" must be the number of a rule or \"schema\"");
    }

    std::size_t Count() const {
        const auto found = m_value.find("count");
        if (found == m_value.end()) {
            return 1;
        }
        if (!found->is_number_unsigned() || found->get<std::uint64_t>() == 0) {
            Fail("\"count\" must be a whole number from 1 up");
        }
        return found->get<std::size_t>();
    }

    /// A misspelt member would make an entry mean more than was meant.
    void CheckMembers(std::initializer_list<std::string_view> known) const {
        for (const auto& member : m_value.items()) {
            if (std::find(known.begin(), known.end(), member.key()) == known.end()) {
                Fail("\"" + member.key() + "\" is not known here");
            }
        }
    }

private:
    const json& m_value;
    std::string m_where;
};

SBaselineEntry ReadEntry(const CEntryReader& reader) {
    reader.CheckMembers({"rule", "file", "uuid", "text", "count"});
    const std::optional<std::string> text = reader.Text("text");
    if (!text) {
        reader.Fail("\"text\" is missing");
    }
    return {reader.Rule(), reader.Text("file").value_or(""), reader.Text("uuid").value_or(""),
            *text, reader.Count()};
}

SSuppression ReadSuppression(const CEntryReader& reader) {
    reader.CheckMembers({"rule", "file", "uuid", "text", "reason"});
    const std::optional<std::string> reason = reader.Text("reason");
    if (!reason || reason->find_first_not_of(" \t\r\n") == std::string::npos) {
        reader.Fail("\"reason\" is missing: a suppression says why");
    }
    return {reader.Rule(), reader.Text("file"), reader.Text("uuid"), reader.Text("text"), *reason};
}

template <class Entry>
void ReadList(const json& root, const char* key, const ObjectLines& lines,
              Entry (*read)(const CEntryReader&), std::vector<Entry>& entries) {
    const auto found = root.find(key);
    if (found == root.end()) {
        return;
    }
    if (!found->is_array()) {
        throw CBaselineFault(fmt::format("\"{}\" must be a list", key));
    }
    const auto known = lines.find(key);
    std::size_t objects = 0;
    for (std::size_t index = 0; index < found->size(); ++index) {
        const json& value = (*found)[index];
        std::string where = fmt::format("\"{}\", entry {}", key, index + 1);
        if (value.is_object() && known != lines.end() && objects < known->second.size()) {
            where = fmt::format("line {}: {}", known->second[objects++], where);
        }
        entries.push_back(read(CEntryReader(value, std::move(where))));
    }
}

SBaseline Interpret(const std::string& text) {
    ObjectLines lines;
    const json root = Parse(text, lines);
    const CEntryReader reader(root, "the document");
    const auto version = root.find("version");
    if (version == root.end() || !version->is_number_integer()) {
        reader.Fail("\"version\" is missing: it is not a baseline");
    }
    if (*version != kVersion) {
        reader.Fail("\"version\" is " + version->dump() + ", and this program knows version " +
                    std::to_string(kVersion));
    }
    reader.CheckMembers({"version", "findings", "suppressions"});
    SBaseline baseline;
    ReadList(root, "findings", lines, ReadEntry, baseline.findings);
    ReadList(root, "suppressions", lines, ReadSuppression, baseline.suppressions);
    return baseline;
}

} // namespace

bool ReadBaseline(const std::string& path, SBaseline& baseline, std::string& reason) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        reason = "It is a folder";
        return false;
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    if (!file) {
        reason = std::generic_category().message(errno);
        return false;
    }
    try {
        baseline = Interpret(text);
    } catch (const CBaselineFault& fault) {
        reason = fault.what();
        return false;
    }
    return true;
}

} // namespace LandscapeValidator
