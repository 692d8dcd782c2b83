// SPDX-License-Identifier: Apache-2.0
#include "rules/page_summary.h"

#include <naxfewxmldb/db_processor.h>

#include "rules/export_rule.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

namespace {

using ExportRules = std::vector<std::shared_ptr<IRule>>;

/// The statement of the first rule of that name; empty when it has none or several.
std::string FindStatement(const ExportRules& rules, const char* name) {
    for (const std::shared_ptr<IRule>& rule : rules) {
        if (rule->name.CompareNoCase(name) == 0) {
            const std::vector<std::string> statements =
                CExportRule::GetStatements(rule->body.GetString());
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

/// The statuses as the page calls them, worst first as in its list.
constexpr std::pair<const char*, const char*> kStatusLabels[] = {
    {"Failed", "Error"}, {"Warning", "Warning"}, {"Info", "Info"}, {"Success", "Success"}};

std::size_t RankOf(const std::string& status) {
    const auto* const known = std::find_if(
        std::begin(kStatusLabels), std::end(kStatusLabels),
        [&status](const std::pair<const char*, const char*>& row) { return status == row.first; });
    return static_cast<std::size_t>(std::distance(std::begin(kStatusLabels), known));
}

std::string LabelOf(const std::string& status) {
    const std::size_t rank = RankOf(status);
    return rank < std::size(kStatusLabels) ? kStatusLabels[rank].second : status;
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
    std::vector<std::pair<std::string, std::string>> found;
    while (rows->MoveNext()) {
        found.emplace_back(rows->GetString(0).GetString(), rows->GetString(1).GetString());
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
        return RankOf(left.first) < RankOf(right.first);
    });
    html.append("<table>\n<caption>").append(caption).append("</caption>\n<thead><tr>");
    for (const char* title : {"Status", "Name", "Results"}) {
        html.append("<th scope=\"col\">").append(title).append("</th>");
    }
    html.append("</tr></thead>\n<tbody>\n");
    const TextProcessor& texts = processor.getTextProcessorRef();
    for (const auto& [status, name] : found) {
        html.append("<tr><td>").append(texts.EscapeXml(LabelOf(status)));
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
    const std::string result = rows->GetString(0).GetString();
    // The classes by which the style sheet colours the page with scripts, too.
    const std::map<std::string, std::string> classes = {{"ERROR", "result-error"},
                                                        {"SUCCESS", "result-success"}};
    const auto known = classes.find(result);
    html.append("<div class=\"")
        .append(known == classes.end() ? "result-unknown" : known->second)
        .append("\"><p>Result: <strong>")
        .append(processor.getTextProcessorRef().EscapeXml(result))
        .append("</strong></p></div>\n");
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
