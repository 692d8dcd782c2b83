// SPDX-License-Identifier: Apache-2.0
// Rules and actions from elsewhere: their files are read or refused with a place, and what they do
// stays in their cage.
#include "fuzz_support.h"

#include "rule_set.h"

#include <naxfewxmldb/naxfewxmldb.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <set>

namespace {

using namespace Nax::FrontEnd::XMLDB;
using namespace LandscapeValidator;
using Fuzzing::Require;
using std::chrono::milliseconds;
namespace fs = std::filesystem;

constexpr milliseconds kTimeLimit(100);
constexpr char kInserts[] =
    "INSERT INTO Files (url, indx) VALUES ('a.xml', '0');"
    "INSERT INTO Services (uuid, name, file_id) VALUES ('s1', 'one', '0'), ('s2', NULL, '0')";
constexpr char kHarmless[] =
    "INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, file_id) "
    "SELECT @ruleid, 'one', uuid, file_id FROM Services WHERE uuid = 's1'";

class CCage {
public:
    CCage() {
        OverrideKnownFolder(KnownFolder::LocalAppData, m_scratch.Path("data").c_str());
        OverrideKnownFolder(KnownFolder::AppData, m_scratch.Path("settings").c_str());
        // Files in place of the resources, so that the library's own readers take files too.
        m_processor = std::make_shared<CDBProcessor>(false, Normal, RESOURCES_DIR "/landscape.xsd",
                                                     RESOURCES_DIR "/xsd_to_ddl.xslt");
        bool made = true;
        for (const DBOperations operation :
             {createDB, Commit, CreateResultIdTable, CreateResultsTable, CreateRulesTable}) {
            made = m_processor->Process(operation, std::wstringstream()) && made;
        }
        made = m_processor->DB_ExecuteQuery(kInserts) && made;
        Require(made, "a database can be made", m_processor->GetLastDBError());
        m_processor->DB_ExecuteQuery("PRAGMA synchronous = OFF");
        m_processor->DB_ExecuteQuery("PRAGMA journal_mode = MEMORY");
        m_processor->DB_ExecuteQuery("PRAGMA temp_store = MEMORY");
        NewRules();
        m_fingerprint = Fingerprint();
    }

    CRulesProcessor& NewRules() {
        m_rules = std::make_unique<CRulesProcessor>(m_processor, _bstr_t());
        m_rules->Initialize();
        m_processor->DB_ExecuteQuery("DELETE FROM Rules");
        return *m_rules;
    }

    std::vector<std::string> Column(const char* sql) {
        std::vector<std::string> values;
        std::shared_ptr<IRecordset> rows;
        Require(m_processor->DB_ExecuteQuery(sql, rows), "the database can be asked",
                m_processor->GetLastDBError());
        while (rows->MoveNext()) {
            values.emplace_back(rows->GetString(0).GetString());
        }
        rows->Close();
        return values;
    }

    /// Nothing but results of these rules may be there, and nothing else may have changed.
    void CheckUntouched(const std::set<std::string>& ruleIds) {
        const std::string now = Fingerprint();
        Require(now == m_fingerprint, "the database is as before", m_fingerprint + "\n" + now);
        for (const std::string& id : Column("SELECT DISTINCT RuleId FROM ValidationResults")) {
            Require(ruleIds.count(id) == 1, "results are the rule's own", id);
        }
        for (const auto& entry : fs::directory_iterator(m_scratch.Folder())) {
            const std::string name = entry.path().filename().string();
            Require(name == "data" || name == "settings" || name == "page" || name == "json" ||
                        name == "input.xml",
                    "no file appears", name);
        }
    }

    const Fuzzing::CScratch& Scratch() const { return m_scratch; }

private:
    std::string Fingerprint() {
        std::string all;
        for (const std::string& part :
             Column("SELECT type || name || ifnull(sql, '') FROM sqlite_master UNION ALL "
                    "SELECT name FROM sqlite_temp_master UNION ALL "
                    "SELECT name || ifnull(file, '') FROM pragma_database_list UNION ALL "
                    "SELECT uuid || ifnull(name, '-') || file_id FROM Services UNION ALL "
                    "SELECT uri || indx FROM Files UNION ALL SELECT Id || Name FROM ResultId UNION "
                    "ALL "
                    "SELECT hard_heap_limit FROM pragma_hard_heap_limit UNION ALL "
                    "SELECT query_only FROM pragma_query_only UNION ALL "
                    "SELECT sum(n) FROM (SELECT count(*) AS n FROM Items UNION ALL "
                    "SELECT count(*) FROM Nodes) ORDER BY 1")) {
            all += part + '\n';
        }
        return all;
    }

    Fuzzing::CScratch m_scratch;
    std::shared_ptr<CDBProcessor> m_processor;
    std::unique_ptr<CRulesProcessor> m_rules;
    std::string m_fingerprint;
};

void CheckFaults(const CRuleSet& rules) {
    Require(!rules.GetFaults().empty(), "what is wrong is told");
    for (const SFileFault& fault : rules.GetFaults()) {
        const std::string text = fault.Describe();
        Require(!fault.text.empty() && fault.file.find("input.xml") != std::string::npos,
                "a fault has its file and its cause", text);
        Require(text.find('\x1b') == std::string::npos && text.find('\n') == std::string::npos,
                "it is one printable line", text);
    }
}

void Export(CCage& cage, CRulesProcessor& rules) {
    const fs::path json = cage.Scratch().Path("json");
    fs::remove_all(json);
    CRulesProcessor::StartNewReport();
    rules.ExecuteExport(cage.Scratch().Path("page").c_str(), 0, 0, 0, json.string().c_str());
    std::set<std::string> outputs; // without number of the statement and ending
    for (const std::shared_ptr<IRule>& action : rules.GetRulesExport()) {
        outputs.insert(fs::path(action->output.GetString()).stem().string());
    }
    std::error_code noFolder;
    for (const auto& entry : fs::directory_iterator(json, noFolder)) {
        const std::string name = entry.path().filename().string();
        const std::string stem = entry.path().stem().string();
        Require(outputs.count(stem) == 1 || outputs.count(stem.substr(0, stem.rfind('_'))) == 1,
                "only outputs of the actions are written", name);
        const std::string content = Fuzzing::ReadFile(entry.path().string());
        Require(nlohmann::json::accept(content), "an export is JSON", content);
    }
    cage.CheckUntouched({});
}

void RunFile(CCage& cage, const std::string& path, bool actions) {
    SRuleOptions options;
    options.sources.builtIn = false;
    options.sources.timeLimit = kTimeLimit;
    (actions ? options.actionFiles : options.sources.ruleFiles).push_back(path);
    CRuleSet set(options);
    if (!set.Load()) {
        CheckFaults(set);
        return;
    }
    CRulesProcessor& rules = cage.NewRules();
    std::set<std::string> ids;
    for (const SRuleElement& element : set.GetRules()) {
        ids.insert(element.Get("id"));
    }
    if (actions) {
        for (const SRuleElement& element : set.GetActions()) {
            AddAction(rules, element, kTimeLimit);
        }
        Export(cage, rules);
    } else {
        Require(set.LoadInto(rules) || ids.empty(), "rules of a good file can be loaded");
        rules.Execute();
        cage.CheckUntouched(ids);
    }
}

/// The readers of the library itself, whose files are the host's: nothing of them is run.
void LoadByLibrary(CCage& cage, const std::string& path) {
    CRulesProcessor& rules = cage.NewRules();
    const bool loaded = rules.LoadRules(path.c_str());
    Require(loaded || rules.GetRules().empty(), "no rules without a document");
    const auto stored = cage.Column("SELECT count(*) FROM Rules");
    Require(std::stoul(stored.front()) <= rules.GetRules().size(), "no more rows than rules");
    rules.LoadExportRules(path.c_str());
    cage.CheckUntouched({});
}

void RunBody(CCage& cage, const std::string& body) {
    CRulesProcessor& rules = cage.NewRules();
    const auto add = [&rules](const char* id, const std::string& text, milliseconds timeLimit) {
        const std::shared_ptr<IRule> rule = rules.AddGuardedRule(timeLimit);
        rule->id = id;
        rule->name = "n";
        rule->type = "Warning";
        rule->msg = "found %s";
        rule->body = text.c_str();
        return rule;
    };
    constexpr milliseconds kLong(20000); // also on a machine that has much else to do
    add("40", kHarmless, kLong);
    const std::shared_ptr<IRule> rule = add("50", body, kTimeLimit);
    add("60", kHarmless, kLong);
    const std::vector<std::string> faults = rules.CheckBody(rule);
    rules.Execute();
    cage.CheckUntouched({"40", "50", "60"});
    const auto others = cage.Column(
        "SELECT RuleId || ResultDescription || UUID FROM ValidationResults WHERE RuleId <> '50' "
        "ORDER BY 1");
    Require(others == std::vector<std::string>{"40ones1", "60ones1"},
            "other rules have their results", body);
    const auto own = cage.Column("SELECT ResultId FROM ValidationResults WHERE RuleId = '50'");
    Require(faults.empty() || own == std::vector<std::string>{"2"},
            "what the check refuses is a runtime error", body);
}

void ExportBody(CCage& cage, const std::string& body) {
    CRulesProcessor& rules = cage.NewRules();
    const std::shared_ptr<IRule> action = rules.AddGuardedExportRule(kTimeLimit);
    action->output = "out.json";
    action->body = body.c_str();
    Export(cage, rules);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CCage cage;
    Fuzzing::CPieces pieces(data, size);
    const std::uint8_t kind = pieces.Byte() % 5;
    const std::string content(pieces.Rest());
    const std::string path = cage.Scratch().Write("input.xml", content);
    switch (kind) {
        case 0:
        case 1:
            RunFile(cage, path, kind == 1);
            break;
        case 2:
            LoadByLibrary(cage, path);
            break;
        case 3:
            RunBody(cage, content);
            break;
        default:
            ExportBody(cage, content);
            break;
    }
    return 0;
}
