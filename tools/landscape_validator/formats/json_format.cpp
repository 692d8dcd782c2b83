// SPDX-License-Identifier: Apache-2.0
// The shape is docs/findings.schema.json. What is added there later must be optional for readers.
#include "formats/findings_writer.h"
#include "formats/json_writer.h"

namespace LandscapeValidator {

namespace {

constexpr int kFormatVersion = 1;

const char* StateName(BaselineState state) {
    switch (state) {
        case BaselineState::New:
            return "new";
        case BaselineState::Known:
            return "known";
        case BaselineState::Suppressed:
            return "suppressed";
        case BaselineState::None:
            break;
    }
    return "";
}

void WriteCounts(CJsonWriter& json, const SReport& report) {
    const SReportCounts& counts = report.counts;
    json.Key("counts").BeginObject();
    json.Member("files", report.files.size());
    json.Member("entries", report.entries);
    json.Member("rules", report.rules.size() - 1);
    json.Member("errors", counts.errors);
    json.Member("warnings", counts.warnings);
    json.Member("infos", counts.infos);
    json.Member("known", counts.known);
    json.Member("suppressed", counts.suppressed);
    json.Member("hidden", counts.hidden);
    json.EndObject();
}

void WriteFiles(CJsonWriter& json, const SReport& report) {
    json.Key("files").BeginArray();
    for (const SReportFile& file : report.files) {
        json.BeginObject(CJsonWriter::kInline).Member("file", file.name);
        json.Member("status", FileStatusName(file.status));
        json.Key("includedBy").TextOrNull(file.includedBy);
        json.Key("schemaViolations").Number(file.violations).EndObject();
    }
    json.EndArray();
}

void WriteRules(CJsonWriter& json, const SReport& report) {
    json.Key("rules").BeginArray();
    for (const SReportRule& rule : report.rules) {
        json.BeginObject(CJsonWriter::kInline)
            .Member("ruleId", rule.id)
            .Member("ruleName", rule.name);
        json.Member("severity", SeverityName(rule.severity));
        json.Member("ran", rule.HasRun()).EndObject();
    }
    json.EndArray();
}

void WriteFinding(CJsonWriter& json, const SReport& report, const SReportFinding& finding) {
    const SReportRule& rule = report.RuleOf(finding);
    const SReportFile* file = report.FileOf(finding);
    json.BeginObject(CJsonWriter::kInline).Member("ruleId", rule.id).Member("ruleName", rule.name);
    json.Member("severity", SeverityName(finding.severity));
    json.Member("shownSeverity", SeverityName(finding.shown));
    json.Key("file").TextOrNull(file == nullptr ? "" : file->name).Key("line");
    if (finding.line > 0) {
        json.Number(finding.line);
    } else {
        json.Null();
    }
    json.Key("uuid").TextOrNull(finding.uuid).Member("text", finding.text);
    json.Member("fingerprint", finding.Fingerprint());
    json.Key("baselineState").TextOrNull(StateName(finding.state));
    json.Key("reason").TextOrNull(finding.reason).EndObject();
}

void WriteBaselinePart(CJsonWriter& json, const SReport& report) {
    json.Key("baseline");
    if (report.baseline.empty()) {
        json.Null();
        return;
    }
    json.BeginObject().Member("file", report.baseline).Member("pruned", report.pruned);
    json.Key("noLongerFound").BeginArray();
    for (const SBaselineEntry& entry : report.gone) {
        json.BeginObject(CJsonWriter::kInline).Member("ruleId", entry.rule);
        json.Key("file").TextOrNull(entry.file).Key("uuid").TextOrNull(entry.uuid);
        json.Member("text", entry.text).Member("count", entry.count).EndObject();
    }
    json.EndArray().Key("unusedSuppressions").BeginArray();
    for (const SSuppression& entry : report.unused) {
        json.BeginObject(CJsonWriter::kInline).Member("ruleId", entry.rule);
        json.Key("file").TextOrNull(entry.file.value_or(""));
        json.Key("uuid").TextOrNull(entry.uuid.value_or(""));
        json.Key("text").TextOrNull(entry.text.value_or(""));
        json.Member("reason", entry.reason).EndObject();
    }
    json.EndArray().EndObject();
}

} // namespace

void WriteJsonReport(const SReport& report, std::ostream& out) {
    CJsonWriter json(out);
    json.BeginObject().Member("formatVersion", kFormatVersion);
    json.Key("tool").BeginObject(CJsonWriter::kInline).Member("name", "landscape-validator");
    json.Member("version", LANDSCAPE_VALIDATOR_VERSION).EndObject();
    json.Member("exitCode", static_cast<int>(report.exitCode));
    json.Member("failOn", SeverityName(report.failOn));
    json.Member("minSeverity", SeverityName(report.minSeverity));
    WriteCounts(json, report);
    json.Key("errors").BeginArray();
    for (const SReportError& error : report.errors) {
        json.BeginObject(CJsonWriter::kInline).Member("message", error.message);
        json.Key("file").TextOrNull(error.file).EndObject();
    }
    json.EndArray();
    WriteFiles(json, report);
    WriteRules(json, report);
    WriteBaselinePart(json, report);
    json.Key("findings").BeginArray();
    for (const SReportFinding& finding : report.findings) {
        if (!finding.hidden) {
            WriteFinding(json, report, finding);
        }
    }
    json.EndArray().EndObject();
}

} // namespace LandscapeValidator
