// SPDX-License-Identifier: Apache-2.0
#include "rules_command.h"

#include "command_line.h"
#include "printable.h"
#include "rule_descriptions.h"
#include "rule_set.h"
#include "schema_files.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr char kSchemaName[] = "Validation against XSD";
constexpr int kSchemaDescription = -1;
constexpr std::size_t kWidth = 78;

std::string LowerLabel(Severity severity) {
    std::string label = SeverityLabel(severity);
    std::transform(label.begin(), label.end(), label.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return label;
}

std::string SeverityWord(const std::string& type) {
    return LowerLabel(SeverityOfType(type));
}

ExitCode Fail(const std::string& message, std::ostream& err) {
    err << kMessageStart << PrintableLines(message) << '\n';
    return ExitCode::Failure;
}

ExitCode Fail(const std::vector<SFileFault>& faults, std::ostream& err) {
    for (const SFileFault& fault : faults) {
        Fail(fault.Describe(), err);
    }
    return ExitCode::Failure;
}

std::string Plural(std::size_t count, const char* one) {
    return fmt::format("{} {}{}", count, one, count == 1 ? "" : "s");
}

ExitCode Finish(ExitCode exitCode, std::ostream& out, std::ostream& err) {
    return PrintResult({}, out, err) ? exitCode : ExitCode::Failure;
}

/// A heading and its text, wrapped between words; nothing when there is no text.
void PrintParagraph(std::ostream& out, const char* heading, const std::string& text) {
    std::istringstream words(Printable(text));
    std::string line;
    std::string lines;
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + 1 + word.size() > kWidth) {
            lines += "  " + line + '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    if (!line.empty()) {
        out << '\n' << heading << '\n' << lines << "  " << line << '\n';
    }
}

void PrintExample(std::ostream& out, const std::string& text) {
    std::istringstream lines(text);
    out << "\nExample\n";
    for (std::string line; std::getline(lines, line);) {
        out << "  " << line << '\n';
    }
}

void PrintHead(std::ostream& out, const std::string& id, const std::string& severity,
               const std::string& name) {
    out << (id == kSchemaRuleWord ? id : "Rule " + id) << ": " << Printable(name) << '\n'
        << "Severity: " << severity << '\n';
}

void PrintDescription(std::ostream& out, int id) {
    const CRuleDescriptions descriptions;
    if (const SRuleDescription* description = descriptions.Find(id)) {
        PrintParagraph(out, "What it finds", description->finds.plain);
        PrintParagraph(out, "Why it matters", description->matters.plain);
        PrintExample(out, description->example);
        PrintParagraph(out, "How to mend it", description->mend.plain);
    }
}

void PrintElement(std::ostream& out, const SRuleElement& element) {
    PrintHead(out, element.Get("id"), SeverityWord(element.Get("type")), element.Get("name"));
    out << "From: " << Printable(element.file) << ':' << element.line << '\n';
    PrintParagraph(out, "Message", element.Get("msg"));
    PrintParagraph(out, "Solution", element.Get("solution"));
    PrintParagraph(out, "Body", element.Get("body"));
}

/// The tables as rules and actions find them, and the faults of bodies against them.
class CBodyChecker {
public:
    explicit CBodyChecker(const SSchemaFiles& schema)
        : m_processor(MakeProcessor(schema, Normal)), m_rules(m_processor, _bstr_t()) {
        m_processor->InitializeInMemory();
        m_rules.Initialize();
    }

    std::vector<std::string> Check(const SRuleElement& element, bool isRule,
                                   std::chrono::milliseconds timeLimit) {
        if (!isRule && !m_trimmed) {
            // Actions are run after the report, when these are gone.
            m_processor->DB_ExecuteQuery("ALTER TABLE ValidationResults DROP COLUMN Body");
            m_processor->DB_ExecuteQuery(
                "ALTER TABLE ValidationResults DROP COLUMN RunTimeErrorTrace");
            m_trimmed = true;
        }
        return m_rules.CheckBody(isRule ? AddRule(m_rules, element, timeLimit)
                                        : AddAction(m_rules, element, timeLimit));
    }

private:
    std::shared_ptr<CDBProcessor> m_processor;
    CRulesProcessor m_rules;
    bool m_trimmed = false;
};

void CheckBodies(const CRuleSet& rules, const SSchemaFiles& schema,
                 std::vector<SFileFault>& faults) {
    CBodyChecker checker(schema);
    for (const bool isRule : {true, false}) {
        for (const SRuleElement& element : isRule ? rules.GetRules() : rules.GetActions()) {
            for (const std::string& fault : checker.Check(element, isRule, rules.GetTimeLimit())) {
                faults.push_back({element.file, element.line, "body: " + fault});
            }
        }
    }
}

} // namespace

ExitCode ListRules(const SRuleSources& sources, std::ostream& out, std::ostream& err) {
    SRuleOptions options;
    options.sources = sources;
    CRuleSet rules(options);
    if (!rules.LoadAll()) {
        return Fail(rules.GetFaults(), err);
    }
    const auto print = [&out](const std::string& id, const std::string& severity,
                              const std::string& name) {
        out << fmt::format("{:>9}  {:<7}  {}\n", id, severity, Printable(name));
    };
    print(kSchemaRuleWord, "warning", kSchemaName);
    for (const std::shared_ptr<IRule>& rule : rules.GetBuiltIn()) {
        print(rule->id.GetString(), SeverityWord(rule->type.GetString()), rule->name.GetString());
    }
    for (const SRuleElement& rule : rules.GetRules()) {
        print(rule.Get("id"), SeverityWord(rule.Get("type")), rule.Get("name"));
    }
    return Finish(ExitCode::Clean, out, err);
}

ExitCode ExplainRule(const SRuleSources& sources, const std::string& id, std::ostream& out,
                     std::ostream& err) {
    SRuleOptions options;
    options.sources = sources;
    CRuleSet rules(options);
    if (!rules.LoadAll()) {
        return Fail(rules.GetFaults(), err);
    }
    if (id == kSchemaRuleWord) {
        PrintHead(out, id, "warning; counts as an error for the exit code", kSchemaName);
        PrintDescription(out, kSchemaDescription);
        return Finish(ExitCode::Clean, out, err);
    }
    for (const std::shared_ptr<IRule>& rule : rules.GetBuiltIn()) {
        if (rule->id == id.c_str()) {
            PrintHead(out, id, SeverityWord(rule->type.GetString()), rule->name.GetString());
            PrintDescription(out, static_cast<int>(std::strtol(id.c_str(), nullptr, 10)));
            return Finish(ExitCode::Clean, out, err);
        }
    }
    for (const SRuleElement& rule : rules.GetRules()) {
        if (rule.Get("id") == id) {
            PrintElement(out, rule);
            return Finish(ExitCode::Clean, out, err);
        }
    }
    return Fail("there is no rule '" + id + "'; \"landscape-validator rules list\" shows them",
                err);
}

ExitCode CheckRuleFiles(const std::vector<std::string>& files, bool withBuiltInRules,
                        const SSchemaFiles& schema, std::ostream& out, std::ostream& err) {
    const std::string schemaFailure = CheckSchemaFiles(schema);
    if (!schemaFailure.empty()) {
        return Fail(schemaFailure, err);
    }
    SRuleOptions options;
    options.sources.builtIn = withBuiltInRules;
    std::vector<SFileFault> unreadable;
    for (const std::string& path : files) {
        const SRuleFile file = ReadRuleFile(path);
        if (!file.readable) {
            unreadable.push_back(file.faults.front());
            continue;
        }
        const bool isActions = file.kind == RuleFileKind::Actions;
        (isActions ? options.actionFiles : options.sources.ruleFiles).push_back(path);
    }
    CRuleSet rules(options);
    rules.LoadAll();
    std::vector<SFileFault> faults = rules.GetFaults();
    CheckBodies(rules, schema, faults);
    Sort(faults);
    for (const SFileFault& fault : faults) {
        out << fault.Describe() << '\n';
    }
    if (unreadable.size() < files.size()) {
        out << fmt::format("Checked {} and {}: {}.\n", Plural(rules.GetRules().size(), "rule"),
                           Plural(rules.GetActions().size(), "action"),
                           faults.empty() ? "no faults" : Plural(faults.size(), "fault"));
    }
    if (!unreadable.empty()) {
        return Fail(unreadable, err);
    }
    return Finish(faults.empty() ? ExitCode::Clean : ExitCode::Findings, out, err);
}

} // namespace LandscapeValidator
