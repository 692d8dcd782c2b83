// SPDX-License-Identifier: Apache-2.0
#include "formats/findings_writer.h"

#include <naxfewxmldb/text_processor.h>

#include <fmt/format.h>

#include <string>

namespace LandscapeValidator {

namespace {

/// Escapes what ends a command, and in properties also what divides them. Other control characters
/// would reach the terminal of whoever reads the log.
std::string Escaped(std::string_view text, bool property) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
        if (character == '%') {
            escaped += "%25";
        } else if (character == '\r') {
            escaped += "%0D";
        } else if (character == '\n') {
            escaped += "%0A";
        } else if (property && character == ':') {
            escaped += "%3A";
        } else if (property && character == ',') {
            escaped += "%2C";
        } else {
            escaped += character;
        }
    }
    return Nax::FrontEnd::XMLDB::TextProcessor::ReplaceControls(escaped, "\t");
}

const char* CommandOf(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return "error";
        case Severity::Warning:
            return "warning";
        default:
            return "notice";
    }
}

void WriteFinding(const SReport& report, const SReportFinding& finding, std::ostream& out) {
    const SReportRule& rule = report.RuleOf(finding);
    out << "::" << CommandOf(finding.severity) << ' ';
    if (const SReportFile* file = report.FileOf(finding)) {
        out << "file=" << Escaped(file->path, true) << ',';
        if (finding.line > 0) {
            out << "line=" << finding.line << ',';
        }
    }
    const std::string title =
        rule.id < 0 ? rule.name : fmt::format("Rule {}: {}", rule.id, rule.name);
    out << "title=" << Escaped(title, true) << "::" << Escaped(finding.text, false) << '\n';
}

} // namespace

void WriteGithubReport(const SReport& report, std::ostream& out) {
    for (const SReportError& error : report.errors) {
        out << "::error ";
        if (!error.file.empty()) {
            out << "file=" << Escaped(error.file, true) << ',';
        }
        out << "title=landscape-validator::" << Escaped(error.message, false) << '\n';
    }
    for (const SReportFinding& finding : report.findings) {
        const SReportFile* file = report.FileOf(finding);
        // That the file could not be read has been said above.
        const bool told = file != nullptr && file->failed;
        if (finding.IsNew() && !finding.hidden && !told) {
            WriteFinding(report, finding, out);
        }
    }
}

} // namespace LandscapeValidator
