// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rule_files.h"
#include "rule_options.h"
#include "severity.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace LandscapeValidator {

/// Id by which the command line names the schema check among the rules.
inline constexpr char kSchemaRuleWord[] = "schema";

/// The rules and actions of a run: the built-in ones, those of the user's files, and the choice
/// among them.
///
/// Load reads and checks everything, so that whatever is wrong is known before a run touches its
/// output folder. One thread at a time.
class CRuleSet {
public:
    explicit CRuleSet(SRuleOptions options) : m_options(std::move(options)) {}

    /// False when something is wrong: GetFaults tells all of it. Reads nothing when all is as
    /// without options.
    bool Load();
    /// The same, and reads the built-in rules in any case.
    bool LoadAll();
    const std::vector<SFileFault>& GetFaults() const { return m_faults; }

    /// Loads the chosen rules, with the chosen severities, and stores them in table `Rules`.
    bool LoadInto(Nax::FrontEnd::XMLDB::CRulesProcessor& processor) const;
    bool HasBuiltInRules() const { return m_options.sources.builtIn; }
    /// Whether violations of the schema are findings.
    bool IsSchemaChosen() const { return IsChosen(kSchemaRuleWord); }
    /// What violations of the schema count as for the exit code.
    Severity GetSchemaGate() const;

    /// All rules in the order in which they run, whether chosen or not.
    const std::vector<std::shared_ptr<Nax::FrontEnd::XMLDB::IRule>>& GetBuiltIn() const {
        return m_builtIn;
    }
    const std::vector<SRuleElement>& GetRules() const { return m_rules; }
    const std::vector<SRuleElement>& GetActions() const { return m_actions; }
    std::chrono::milliseconds GetTimeLimit() const { return m_options.sources.timeLimit; }

private:
    void LoadBuiltIn();
    void AddFile(const std::string& path, RuleFileKind kind);
    void AddUnique(const SRuleElement& element, const char* attribute,
                   std::map<std::string, std::string>& known);
    void LoadActions();
    void AddPartOutputs(std::map<std::string, std::string>& known);
    void LoadChoice();
    void CheckId(const std::string& option, const std::string& id);
    bool IsChosen(const std::string& id) const;

    SRuleOptions m_options;
    std::vector<SFileFault> m_faults;
    std::vector<std::shared_ptr<Nax::FrontEnd::XMLDB::IRule>> m_builtIn;
    std::vector<SRuleElement> m_rules;
    std::vector<SRuleElement> m_actions;
    /// Where each id, name or output stands that may occur once.
    std::map<std::string, std::string> m_ids;
    std::map<std::string, std::string> m_names;
    std::set<std::string> m_disabled;
    std::set<std::string> m_only;
    std::map<std::string, Severity> m_severities;
};

/// Adds a rule of a file to the processor's, behind its guard.
std::shared_ptr<Nax::FrontEnd::XMLDB::IRule> AddRule(
    Nax::FrontEnd::XMLDB::CRulesProcessor& processor, const SRuleElement& element,
    std::chrono::milliseconds timeLimit);
/// The same for an action.
std::shared_ptr<Nax::FrontEnd::XMLDB::IRule> AddAction(
    Nax::FrontEnd::XMLDB::CRulesProcessor& processor, const SRuleElement& element,
    std::chrono::milliseconds timeLimit);

/// The severity of a rule's findings.
Severity SeverityOfType(const std::string& type);

} // namespace LandscapeValidator
