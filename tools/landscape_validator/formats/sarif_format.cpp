// SPDX-License-Identifier: Apache-2.0
// SARIF 2.1.0. Results carry their content's hash as fingerprint, so that services which keep
// findings over time recognise them when lines move.
#include "formats/findings_writer.h"
#include "formats/json_writer.h"
#include "rule_descriptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace LandscapeValidator {

namespace {

constexpr char kBase[] = "%SRCROOT%";
constexpr char kFingerprint[] = "findingContent/v1";
constexpr char kSchemaUri[] =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
    "sarif-schema-2.1.0.json";

const char* LevelOf(Severity severity) {
    return severity == Severity::Info ? "note" : SeverityName(severity);
}

CJsonWriter& WriteMessage(CJsonWriter& json, std::string_view key, std::string_view text) {
    return json.Key(key).BeginObject(CJsonWriter::kInline).Member("text", text).EndObject();
}

std::string HelpMarkdown(const SRuleDescription& description) {
    return fmt::format(
        "**What it finds.** {}\n\n**Why it matters.** {}\n\n**Example.**\n\n```xml\n{}\n```\n\n"
        "**How to mend it.** {}",
        description.finds.markdown, description.matters.markdown, description.example,
        description.mend.markdown);
}

std::string HelpText(const SRuleDescription& description) {
    return fmt::format("What it finds: {}\n\nWhy it matters: {}\n\nHow to mend it: {}",
                       description.finds.plain, description.matters.plain, description.mend.plain);
}

void WriteRule(CJsonWriter& json, const SReportRule& rule, const SRuleDescription* description) {
    const std::string id = RuleIdText(rule.id);
    json.BeginObject().Member("id", id).Member("name", rule.name);
    WriteMessage(json, "shortDescription", rule.name);
    if (description != nullptr) {
        WriteMessage(json, "fullDescription", description->finds.plain);
        json.Key("help").BeginObject().Member("text", HelpText(*description));
        json.Member("markdown", HelpMarkdown(*description)).EndObject();
    } else {
        WriteMessage(json, "fullDescription", rule.name);
        WriteMessage(json, "help", rule.solution.empty() ? rule.name : rule.solution);
    }
    json.Key("defaultConfiguration").BeginObject(CJsonWriter::kInline);
    json.Member("level", LevelOf(rule.severity)).EndObject().EndObject();
}

void WriteTool(CJsonWriter& json, const SReport& report) {
    const CRuleDescriptions descriptions;
    json.Key("tool").BeginObject().Key("driver").BeginObject();
    json.Member("name", "landscape-validator").Member("version", LANDSCAPE_VALIDATOR_VERSION);
    json.Member("semanticVersion", LANDSCAPE_VALIDATOR_VERSION).Key("rules").BeginArray();
    for (const SReportRule& rule : report.rules) {
        const bool explained = report.builtInRules || rule.id < 0;
        WriteRule(json, rule, explained ? descriptions.Find(rule.id) : nullptr);
    }
    json.EndArray().EndObject().EndObject();
}

void WriteFileLocation(CJsonWriter& json, const SReportFile& file, std::size_t index) {
    json.BeginObject(CJsonWriter::kInline).Member("uri", file.uri);
    if (file.isRelative) {
        json.Member("uriBaseId", kBase);
    }
    json.Member("index", index).EndObject();
}

void BeginNotification(CJsonWriter& json, const char* level, std::string_view text) {
    json.BeginObject(CJsonWriter::kInline).Member("level", level);
    WriteMessage(json, "message", text);
}

void WriteNotifications(CJsonWriter& json, const SReport& report) {
    json.Key("toolExecutionNotifications").BeginArray();
    for (const SReportError& error : report.errors) {
        BeginNotification(json, "error", error.message);
        const auto file = std::find_if(report.files.begin(), report.files.end(),
                                       [&](const SReportFile& f) { return f.name == error.file; });
        if (file != report.files.end()) {
            json.Key("locations").BeginArray().BeginObject().Key("physicalLocation").BeginObject();
            json.Key("artifactLocation");
            WriteFileLocation(json, *file, static_cast<std::size_t>(file - report.files.begin()));
            json.EndObject().EndObject().EndArray();
        }
        json.EndObject();
    }
    const auto note = [&json](const std::string& text) {
        BeginNotification(json, "note", text);
        json.EndObject();
    };
    const std::size_t results = CountSarifResults(report);
    if (results > kManySarifResults) {
        note(
            fmt::format("There are {} results; services may show only the first {}, which are the "
                        "most severe.",
                        results, kManySarifResults));
    }
    if (report.counts.hidden > 0) {
        note(fmt::format("{} findings below \"{}\" are left out.", report.counts.hidden,
                         SeverityName(report.minSeverity)));
    }
    for (const SBaselineEntry& entry : report.gone) {
        note(fmt::format("Known finding that no longer occurs: rule {}, {}: {}",
                         RuleIdText(entry.rule), entry.file, entry.text));
    }
    json.EndArray();
}

void WriteSuppressionOf(CJsonWriter& json, const SReportFinding& finding) {
    if (finding.state == BaselineState::None) {
        return;
    }
    // All results of a run tell their state, or none does.
    json.Member("baselineState", finding.state == BaselineState::New ? "new" : "unchanged");
    json.Key("suppressions").BeginArray();
    if (!finding.IsNew()) {
        json.BeginObject().Member("kind", "external").Member("status", "accepted");
        json.Member("justification", finding.state == BaselineState::Known
                                         ? "Known: it is in the baseline."
                                         : finding.reason);
        json.EndObject();
    }
    json.EndArray();
}

void WriteResult(CJsonWriter& json, const SReport& report, const SReportFinding& finding) {
    const SReportRule& rule = report.RuleOf(finding);
    json.BeginObject(CJsonWriter::kInline).Member("ruleId", RuleIdText(rule.id));
    json.Member("ruleIndex", finding.rule).Member("level", LevelOf(finding.severity));
    WriteMessage(json, "message", finding.text.empty() ? rule.name : finding.text);
    json.Key("locations").BeginArray();
    if (const SReportFile* file = report.FileOf(finding)) {
        json.BeginObject().Key("physicalLocation").BeginObject().Key("artifactLocation");
        WriteFileLocation(json, *file, static_cast<std::size_t>(finding.file));
        if (finding.line > 0) {
            json.Key("region").BeginObject().Key("startLine").Number(finding.line).EndObject();
        }
        json.EndObject();
        if (!finding.uuid.empty()) {
            json.Key("logicalLocations").BeginArray().BeginObject();
            json.Member("name", finding.uuid).Member("kind", "element").EndObject().EndArray();
        }
        json.EndObject();
    }
    json.EndArray().Key("partialFingerprints").BeginObject();
    json.Member(kFingerprint, finding.Fingerprint()).EndObject();
    WriteSuppressionOf(json, finding);
    json.Key("properties").BeginObject();
    json.Member("shownSeverity", SeverityName(finding.shown)).EndObject().EndObject();
}

} // namespace

std::size_t CountSarifResults(const SReport& report) {
    return static_cast<std::size_t>(
        std::count_if(report.findings.begin(), report.findings.end(),
                      [](const SReportFinding& finding) { return !finding.hidden; }));
}

void WriteSarifReport(const SReport& report, std::ostream& out) {
    CJsonWriter json(out);
    json.BeginObject().Member("$schema", kSchemaUri).Member("version", "2.1.0");
    json.Key("runs").BeginArray().BeginObject();
    WriteTool(json, report);
    json.Key("originalUriBaseIds").BeginObject().Key(kBase).BeginObject();
    WriteMessage(json, "description", "The folder in which the program was started.");
    json.EndObject().EndObject();
    json.Key("invocations").BeginArray().BeginObject();
    json.Member("executionSuccessful", report.exitCode != ExitCode::Failure);
    json.Member("exitCode", static_cast<int>(report.exitCode));
    WriteNotifications(json, report);
    json.EndObject().EndArray().Key("artifacts").BeginArray();
    for (const SReportFile& file : report.files) {
        json.BeginObject(CJsonWriter::kInline)
            .Key("location")
            .BeginObject()
            .Member("uri", file.uri);
        if (file.isRelative) {
            json.Member("uriBaseId", kBase);
        }
        json.EndObject().Key("roles").BeginArray().Text("analysisTarget").EndArray().EndObject();
    }
    json.EndArray().Key("results").BeginArray();
    for (const SReportFinding& finding : report.findings) {
        if (!finding.hidden) {
            WriteResult(json, report, finding);
        }
    }
    json.EndArray().EndObject().EndArray().EndObject();
}

} // namespace LandscapeValidator
