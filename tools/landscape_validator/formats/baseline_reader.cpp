// SPDX-License-Identifier: Apache-2.0
#include "findings.h"
#include "formats/baseline.h"
#include "formats/text_encoding.h"
#include "readable_file.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace LandscapeValidator {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxSize = std::size_t{128} << 20U;

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

json Parse(const std::string& text) {
    long line = 1;
    try {
        return json::parse(CLineCountingIterator(text.data(), line),
                           CLineCountingIterator(text.data() + text.size(), line));
    } catch (const json::exception& error) { // not JSON, or a number that is too large
        // The library's text begins with its own id and place.
        const std::string what = error.what();
        const std::size_t colon = what.find(": ");
        throw CBaselineFault(fmt::format(
            "line {}: {}", line, colon == std::string::npos ? what : what.substr(colon + 2)));
    }
}

/// The line in which the object `number` of the list `key` begins. Only for messages: the parser
/// takes long when it is watched.
long LineOfObject(const std::string& text, std::string_view key, std::size_t number) {
    long line = 1;
    long found = 0;
    std::string list;
    std::size_t count = 0;
    const auto watch = [&](int depth, json::parse_event_t event, json& value) {
        if (event == json::parse_event_t::key && depth == 1) {
            list = value.get<std::string>();
        } else if (event == json::parse_event_t::object_start && depth == 2 && list == key &&
                   count++ == number) {
            found = line;
        }
        return depth < 2; // nothing of it is kept
    };
    const json ignored = json::parse(CLineCountingIterator(text.data(), line),
                                     CLineCountingIterator(text.data() + text.size(), line), watch);
    return found;
}

/// One object of a list, read member by member; what is left over is a fault.
class CEntryReader {
public:
    explicit CEntryReader(const json& value) : m_value(value) {
        if (!value.is_object()) {
            Fail("an object is expected");
        }
    }

    [[noreturn]] static void Fail(const std::string& why) { throw CBaselineFault(why); }

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
            if (error == std::errc() && stop == end && id >= 0) {
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
        // Counts of equal entries are added up.
        constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
        if (!found->is_number_unsigned() || found->get<std::uint64_t>() == 0 ||
            found->get<std::uint64_t>() > kMost) {
            Fail(fmt::format("\"count\" must be a whole number from 1 to {}", kMost));
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
};

SBaselineEntry ReadEntry(const CEntryReader& reader) {
    reader.CheckMembers({"rule", "file", "uuid", "text", "count"});
    const std::optional<std::string> text = reader.Text("text");
    if (!text) {
        CEntryReader::Fail("\"text\" is missing");
    }
    return {reader.Rule(), reader.Text("file").value_or(""), reader.Text("uuid").value_or(""),
            *text, reader.Count()};
}

SSuppression ReadSuppression(const CEntryReader& reader) {
    reader.CheckMembers({"rule", "file", "uuid", "text", "reason"});
    const std::optional<std::string> reason = reader.Text("reason");
    if (!reason || reason->find_first_not_of(" \t\r\n") == std::string::npos) {
        CEntryReader::Fail("\"reason\" is missing: a suppression says why");
    }
    return {reader.Rule(), reader.Text("file"), reader.Text("uuid"), reader.Text("text"), *reason};
}

template <class Entry>
void ReadList(const json& root, const char* key, const std::string& text,
              Entry (*read)(const CEntryReader&), std::vector<Entry>& entries) {
    const auto found = root.find(key);
    if (found == root.end()) {
        return;
    }
    if (!found->is_array()) {
        throw CBaselineFault(fmt::format("\"{}\" must be a list", key));
    }
    entries.reserve(found->size());
    std::size_t objects = 0;
    for (const json& value : *found) {
        try {
            entries.push_back(read(CEntryReader(value)));
        } catch (const CBaselineFault& fault) {
            const std::string line =
                value.is_object() ? fmt::format("line {}: ", LineOfObject(text, key, objects)) : "";
            throw CBaselineFault(
                fmt::format("{}\"{}\", entry {}: {}", line, key, entries.size() + 1, fault.what()));
        }
        objects += value.is_object() ? 1 : 0;
    }
}

SBaseline Interpret(const std::string& text) {
    const json root = Parse(text);
    const CEntryReader reader(root);
    const auto version = root.find("version");
    if (version == root.end() || !version->is_number_integer()) {
        CEntryReader::Fail("\"version\" is missing: it is not a baseline");
    }
    if (*version != kBaselineVersion) {
        CEntryReader::Fail("\"version\" is " + version->dump() +
                           ", and this program knows version " + std::to_string(kBaselineVersion));
    }
    reader.CheckMembers({"version", "findings", "suppressions"});
    SBaseline baseline;
    ReadList(root, "findings", text, ReadEntry, baseline.findings);
    ReadList(root, "suppressions", text, ReadSuppression, baseline.suppressions);
    return baseline;
}

} // namespace

bool ReadBaseline(const std::string& path, SBaseline& baseline, std::string& reason) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        reason = "It is a folder";
        return false;
    }
    std::string text;
    if (!ReadFile(path, text, reason, kMaxSize)) {
        return false;
    }
    try {
        baseline = Interpret(text);
    } catch (const CBaselineFault& fault) {
        reason = ValidUtf8(fault.what()); // the parser quotes what it cannot read
        return false;
    }
    return true;
}

} // namespace LandscapeValidator
