// SPDX-License-Identifier: Apache-2.0
#include "findings.h"
#include "formats/baseline.h"
#include "formats/json_writer.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <tuple>

namespace LandscapeValidator {

namespace {

auto Order(const SBaselineEntry& entry) {
    return std::tie(entry.file, entry.rule, entry.uuid, entry.text);
}

auto Order(const SSuppression& entry) {
    return std::tie(entry.rule, entry.file, entry.uuid, entry.text, entry.reason);
}

template <class Entry>
std::vector<Entry> Sorted(std::vector<Entry> entries) {
    std::sort(entries.begin(), entries.end(),
              [](const Entry& left, const Entry& right) { return Order(left) < Order(right); });
    return entries;
}

void WriteRule(CJsonWriter& json, int rule) {
    json.BeginObject(CJsonWriter::Layout::Inline).Key("rule");
    if (rule == kSchemaRuleId) {
        json.Text("schema");
    } else {
        json.Number(rule);
    }
}

void WriteEntry(CJsonWriter& json, const SBaselineEntry& entry) {
    WriteRule(json, entry.rule);
    if (!entry.file.empty()) {
        json.Member("file", entry.file);
    }
    if (!entry.uuid.empty()) {
        json.Member("uuid", entry.uuid);
    }
    json.Member("text", entry.text);
    if (entry.count != 1) {
        json.Member("count", entry.count);
    }
    json.EndObject();
}

void WriteSuppression(CJsonWriter& json, const SSuppression& entry) {
    WriteRule(json, entry.rule);
    for (const auto& [key, value] : {std::pair("file", &entry.file), std::pair("uuid", &entry.uuid),
                                     std::pair("text", &entry.text)}) {
        if (*value) {
            json.Member(key, **value);
        }
    }
    json.Member("reason", entry.reason).EndObject();
}

} // namespace

bool WriteBaseline(const std::string& path, const SBaseline& baseline, std::string& reason) {
    return Nax::FrontEnd::XMLDB::WriteWholeFile(
        path,
        [&baseline](std::ostream& out) {
            CJsonWriter json(out);
            json.BeginObject().Member("version", kBaselineVersion).Key("findings").BeginArray();
            for (const SBaselineEntry& entry : Sorted(baseline.findings)) {
                WriteEntry(json, entry);
            }
            json.EndArray().Key("suppressions").BeginArray();
            for (const SSuppression& entry : Sorted(baseline.suppressions)) {
                WriteSuppression(json, entry);
            }
            json.EndArray().EndObject();
        },
        reason);
}

} // namespace LandscapeValidator
