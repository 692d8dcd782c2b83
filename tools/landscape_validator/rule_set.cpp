// SPDX-License-Identifier: Apache-2.0
#include "rule_set.h"

#include <algorithm>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr char kBuiltIn[] = "a built-in one";

struct SLevel {
    const char* word;
    Severity severity;
    const char* type;
};

constexpr SLevel kLevels[] = {
    {"error", Severity::Error, "Error"},
    {"warning", Severity::Warning, "Warning"},
    {"info", Severity::Info, "Info"},
};

const char* TypeOf(Severity severity) {
    return std::find_if(std::begin(kLevels), std::end(kLevels),
                        [severity](const SLevel& level) { return level.severity == severity; })
        ->type;
}

} // namespace

Severity SeverityOfType(const std::string& type) {
    const auto* level = std::find_if(std::begin(kLevels), std::end(kLevels),
                                     [&type](const SLevel& item) { return type == item.type; });
    return level == std::end(kLevels) ? Severity::Error : level->severity;
}

bool CRuleSet::Load() {
    const SRuleChoice& choice = m_options.choice;
    const bool plain = m_options.sources.ruleFiles.empty() && m_options.sources.builtIn &&
                       m_options.actionFiles.empty() && choice.disabled.empty() &&
                       choice.only.empty() && choice.severities.empty();
    return plain || LoadAll();
}

bool CRuleSet::LoadAll() {
    LoadBuiltIn();
    for (const std::string& path : m_options.sources.ruleFiles) {
        AddFile(path, RuleFileKind::Rules);
    }
    LoadActions();
    LoadChoice();
    const bool any = IsSchemaChosen() ||
                     std::any_of(m_ids.begin(), m_ids.end(),
                                 [this](const auto& entry) { return IsChosen(entry.first); });
    if (!any && m_faults.empty()) {
        // A run that checks nothing would tell every landscape that it is clean.
        m_faults.push_back({"", 0, "nothing is left to check: no rule, and not the schema"});
    }
    Sort(m_faults);
    return m_faults.empty();
}

void CRuleSet::LoadBuiltIn() {
    if (!m_options.sources.builtIn) {
        return;
    }
    const auto processor = std::make_shared<CDBProcessor>(true, Normal, _bstr_t(), _bstr_t());
    processor->InitializeInMemory();
    CRulesProcessor rules(processor, _bstr_t());
    if (!rules.LoadRules(_bstr_t())) {
        m_faults.push_back({"", 0, "the built-in rules cannot be loaded"});
    }
    m_builtIn = rules.GetRules();
    for (const std::shared_ptr<IRule>& rule : m_builtIn) {
        m_ids[rule->id.GetString()] = kBuiltIn;
        m_names[rule->name.GetString()] = kBuiltIn;
    }
}

void CRuleSet::AddFile(const std::string& path, RuleFileKind kind) {
    SRuleFile file = ReadRuleFile(path);
    m_faults.insert(m_faults.end(), file.faults.begin(), file.faults.end());
    if (file.kind != RuleFileKind::Unknown && file.kind != kind) {
        m_faults.push_back({path, 0,
                            kind == RuleFileKind::Rules
                                ? "is a file of actions; give it with --actions"
                                : "is a file of rules; give it with --rules"});
        return;
    }
    for (SRuleElement& element : file.elements) {
        AddUnique(element, "id", m_ids);
        AddUnique(element, "name", m_names);
        (kind == RuleFileKind::Rules ? m_rules : m_actions).push_back(std::move(element));
    }
}

void CRuleSet::AddUnique(const SRuleElement& element, const char* attribute,
                         std::map<std::string, std::string>& known) {
    const std::string& value = element.Get(attribute);
    const auto [place, isNew] =
        known.try_emplace(value, "that in " + element.file + ":" + std::to_string(element.line));
    if (!isNew) {
        m_faults.push_back(
            {element.file, element.line,
             std::string(attribute) + " \"" + value + "\" is taken: " + place->second + " has it"});
    }
}

void CRuleSet::LoadActions() {
    if (m_options.actionFiles.empty()) {
        return;
    }
    // Rules and actions are numbered and named apart; the built-in actions keep all of theirs.
    std::map<std::string, std::string> ruleIds;
    std::map<std::string, std::string> ruleNames;
    std::map<std::string, std::string> outputs;
    std::swap(ruleIds, m_ids);
    std::swap(ruleNames, m_names);
    CRulesProcessor builtIn(std::make_shared<CDBProcessor>(true, Normal, _bstr_t(), _bstr_t()),
                            _bstr_t());
    builtIn.LoadExportRules(_bstr_t());
    for (const std::shared_ptr<IRule>& action : builtIn.GetRulesExport()) {
        m_ids[action->id.GetString()] = kBuiltIn;
        m_names[action->name.GetString()] = kBuiltIn;
        outputs[action->output.GetString()] = kBuiltIn;
    }
    for (const std::string& path : m_options.actionFiles) {
        AddFile(path, RuleFileKind::Actions);
    }
    for (const SRuleElement& action : m_actions) {
        AddUnique(action, "output", outputs);
    }
    AddPartOutputs(outputs);
    std::swap(ruleIds, m_ids);
    std::swap(ruleNames, m_names);
}

/// The files that are numbered because their action has several statements.
void CRuleSet::AddPartOutputs(std::map<std::string, std::string>& known) {
    for (const SRuleElement& action : m_actions) {
        const std::string output = action.Get("output");
        const std::size_t dot = output.find('.');
        const std::size_t count = CRulesProcessor::CountStatements(action.Get("body"));
        for (std::size_t index = 0; count > 1 && index < count; ++index) {
            SRuleElement part = action;
            part.attributes["output"] =
                output.substr(0, dot) + "_" + std::to_string(index) + output.substr(dot);
            AddUnique(part, "output", known);
        }
    }
}

void CRuleSet::LoadChoice() {
    for (const std::string& id : m_options.choice.disabled) {
        CheckId("--disable-rule", id);
        m_disabled.insert(id);
    }
    for (const std::string& id : m_options.choice.only) {
        CheckId("--only-rule", id);
        m_only.insert(id);
    }
    for (const std::string& words : m_options.choice.severities) {
        const std::size_t equals = words.find('=');
        const std::string id = words.substr(0, equals);
        const std::string word = equals == std::string::npos ? "" : words.substr(equals + 1);
        const auto* level = std::find_if(std::begin(kLevels), std::end(kLevels),
                                         [&word](const SLevel& item) { return word == item.word; });
        if (level == std::end(kLevels)) {
            m_faults.push_back(
                {"", 0, "--severity " + words + ": expected is ID=error, ID=warning or ID=info"});
            continue;
        }
        CheckId("--severity", id);
        m_severities[id] = level->severity;
    }
}

void CRuleSet::CheckId(const std::string& option, const std::string& id) {
    if (id != kSchemaRuleWord && m_ids.count(id) == 0) {
        m_faults.push_back({"", 0,
                            option + " " + id +
                                ": there is no such rule; \"landscape-validator rules list\" "
                                "shows them"});
    }
}

bool CRuleSet::IsChosen(const std::string& id) const {
    return m_disabled.count(id) == 0 && (m_only.empty() || m_only.count(id) != 0);
}

Severity CRuleSet::GetSchemaGate() const {
    const auto found = m_severities.find(kSchemaRuleWord);
    return found == m_severities.end() ? Severity::Error : found->second;
}

bool CRuleSet::LoadInto(CRulesProcessor& processor) const {
    const bool loaded =
        m_options.sources.builtIn ? processor.LoadRules(_bstr_t()) : processor.Initialize();
    for (const SRuleElement& element : m_rules) {
        AddRule(processor, element, m_options.sources.timeLimit);
    }
    std::vector<std::shared_ptr<IRule>> rules = processor.GetRules();
    std::erase_if(rules, [this](const std::shared_ptr<IRule>& rule) {
        return !IsChosen(rule->id.GetString());
    });
    for (const std::shared_ptr<IRule>& rule : rules) {
        const auto severity = m_severities.find(rule->id.GetString());
        if (severity != m_severities.end()) {
            rule->type = TypeOf(severity->second);
        }
    }
    const bool unchanged = m_rules.empty() && rules.size() == processor.GetRules().size() &&
                           m_severities.empty() && m_options.sources.builtIn;
    if (unchanged) {
        return loaded;
    }
    processor.SetRules(std::move(rules));
    return processor.ToTable() && loaded;
}

std::shared_ptr<IRule> AddRule(CRulesProcessor& processor, const SRuleElement& element,
                               std::chrono::milliseconds timeLimit) {
    std::shared_ptr<IRule> rule = processor.AddGuardedRule(timeLimit);
    rule->id = element.Get("id").c_str();
    rule->name = element.Get("name").c_str();
    rule->type = element.Get("type").c_str();
    rule->msg = element.Get("msg").c_str();
    rule->params = element.Get("params").c_str();
    rule->lang = element.Get("lang").c_str();
    rule->body = element.Get("body").c_str();
    rule->solution = element.Get("solution").c_str();
    return rule;
}

std::shared_ptr<IRule> AddAction(CRulesProcessor& processor, const SRuleElement& element,
                                 std::chrono::milliseconds timeLimit) {
    std::shared_ptr<IRule> rule = processor.AddGuardedExportRule(timeLimit);
    rule->id = element.Get("id").c_str();
    rule->name = element.Get("name").c_str();
    rule->msg = element.Get("msg").c_str();
    rule->body = element.Get("body").c_str();
    rule->output = element.Get("output").c_str();
    return rule;
}

} // namespace LandscapeValidator
