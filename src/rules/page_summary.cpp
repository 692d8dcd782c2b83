// SPDX-License-Identifier: Apache-2.0
#include "rules/page_summary.h"

#include <naxfewxmldb/db_processor.h>

#include "rules/export_rule.h"

#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

namespace {

using ExportRules = std::vector<std::shared_ptr<IRule>>;

/// The statement of the first rule of that name; empty when it has none or several.
std::string FindStatement(const ExportRules& rules, const char* name) {
    for (const std::shared_ptr<IRule>& rule : rules) {
        if (rule->name.CompareNoCase(name) == 0) {
            const std::vector<std::string> statements = CExportRule::GetStatements(*rule);
            return statements.size() == 1 ? statements.front() : std::string();
        }
    }
    return {};
}

/// How many results stand behind each row of the two lists.
struct SCounts {
    std::map<std::pair<std::string, std::string>, std::size_t> ofRule; ///< by status and name
    std::map<std::string, std::size_t> ofFile;
};

bool CountResults(CDBProcessor& processor, const std::string& statement, SCounts& counts) {
    // Counted here: the database would sort all results by name, twice.
    std::shared_ptr<IRecordset> rows;
    const std::string sql = "SELECT Status, Name, FileName FROM (" + statement + ")";
    if (!processor.DB_ExecuteQuery(sql.c_str(), rows)) {
        return false;
    }
    while (rows->MoveNext()) {
        ++counts.ofRule[{rows->GetString(0).GetString(), rows->GetString(1).GetString()}];
        ++counts.ofFile[rows->GetString(2).GetString()];
    }
    return true;
}

/// Appends a table of the statement's rows: status, name and what `count` says of them.
bool AppendTable(
    CDBProcessor& processor, const std::string& statement, const char* caption,
    const std::function<std::size_t(const std::string& status, const std::string& name)>& count,
    std::string& html) {
    std::shared_ptr<IRecordset> rows;
    const std::string sql = "SELECT Status, Name FROM (" + statement + ")";
    if (!processor.DB_ExecuteQuery(sql.c_str(), rows)) {
        return false;
    }
    html.append("<table>\n<caption>").append(caption).append("</caption>\n<thead><tr>");
    for (const char* title : {"Status", "Name", "Results"}) {
        html.append("<th scope=\"col\">").append(title).append("</th>");
    }
    html.append("</tr></thead>\n<tbody>\n");
    const TextProcessor& texts = processor.getTextProcessorRef();
    while (rows->MoveNext()) {
        const std::string status = rows->GetString(0).GetString();
        const std::string name = rows->GetString(1).GetString();
        html.append("<tr><td>").append(texts.EscapeXml(status));
        html.append("</td><td>").append(texts.EscapeXml(name));
        html.append("</td><td>").append(std::to_string(count(status, name)));
        html.append("</td></tr>\n");
    }
    html.append("</tbody>\n</table>\n");
    return true;
}

bool AppendResult(CDBProcessor& processor, const std::string& statement, std::string& html) {
    std::shared_ptr<IRecordset> rows;
    const std::string sql = "SELECT Result FROM (" + statement + ")";
    if (!processor.DB_ExecuteQuery(sql.c_str(), rows) || !rows->MoveNext()) {
        return false;
    }
    html.append("<p>Result: <strong>")
        .append(processor.getTextProcessorRef().EscapeXml(rows->GetString(0).GetString()))
        .append("</strong></p>\n");
    return true;
}

} // namespace

std::string MakePageSummary(CDBProcessor& processor, const ExportRules& exportRules) {
    const std::string rules = FindStatement(exportRules, "FilterAllRules");
    const std::string files = FindStatement(exportRules, "FilterAllFiles");
    const std::string results = FindStatement(exportRules, "RulesDependingOnFile");
    const std::string outcome = FindStatement(exportRules, "EllipseResult");
    if (rules.empty() || files.empty() || results.empty() || outcome.empty()) {
        return {};
    }
    SCounts counts;
    std::string html;
    const bool made = AppendResult(processor, outcome, html) &&
                      CountResults(processor, results, counts) &&
                      AppendTable(
                          processor, rules, "Rules",
                          [&counts](const std::string& status, const std::string& name) {
                              return counts.ofRule[{status, name}];
                          },
                          html) &&
                      AppendTable(
                          processor, files, "Files",
                          [&counts](const std::string& /*status*/, const std::string& name) {
                              return counts.ofFile[name];
                          },
                          html);
    return made ? html : std::string();
}

} // namespace Nax::FrontEnd::XMLDB
