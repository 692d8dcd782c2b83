// SPDX-License-Identifier: Apache-2.0
#include "rule_oracle.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <set>
#include <utility>

namespace Nax::FrontEnd::XMLDB::Testing {

using Bench::EKind;
using Bench::SModelEntry;

namespace {

// By rule id.
constexpr std::array<std::string_view, 33> MESSAGES = {
    "The service: %s references to non-existing router: %s",
    "You have specified a service entry, UUID %s with an invalid value: %s",
    "The Service UUID %s referenced more than once",
    "The UUID %s has been employed redundantly within the MessageServers repository. "
    "The entity is identified by the name %s, and its host corresponds to %s. ",
    "The UUID %s has been employed redundantly within the MessageServers repository. "
    "The entity is identified by the name %s, and its host corresponds to %s",
    "The UUID %s has been employed redundantly within the Routers repository",
    "The UUID %s has been employed redundantly within the Services repository. "
    "Service name is %s",
    "The UUID %s has been employed redundantly within the Nodes repository. Node "
    "name is %s",
    "The UUID %s has been employed redundantly within the Items repository",
    "The UUID %s has been employed redundantly within the Workspaces repository. "
    "Workspace name is %s",
    "The UUID %s in the MessageServers repository does not conform to the expected "
    "UUID format",
    "The UUID %s in the Routers repository does not conform to the expected UUID "
    "format",
    "The UUID %s in the Services repository does not conform to the expected UUID "
    "format",
    "The UUID %s in the Nodes repository does not conform to the expected UUID format",
    "The UUID %s in the Items repository does not conform to the expected UUID format",
    "The item %s has an incorrect reference to a non-valid parent entry: %s",
    "The service with UUID: %s references to non-existing message server with UUID: "
    "%s",
    "The service: %s references to non-existing web dispatcher by this msid "
    "attribute: %s",
    "The Web dispatcher with UUID: %s references to non-existing message server by "
    "msid attribute: %s",
    "The Service UUID %s has been employed redundantly. The same UUID is used in the "
    "%s repository ",
    "The Message Server UUID %s has been employed redundantly. The same UUID is used "
    "in the %s repository ",
    "The Router UUID %s has been employed redundantly. The same UUID is used in the "
    "%s repository ",
    "The Item UUID %s has been employed redundantly. The same UUID is used in the %s "
    "repository ",
    "The Workspace UUID %s has been employed redundantly. The same UUID is used in "
    "the %s repository ",
    "The Webdispatcher UUID %s has been employed redundantly. The same UUID is used "
    "in the %s repository ",
    "The Node UUID %s has been employed redundantly. The same UUID is used in the %s "
    "repository ",
    "The LDAP UUID %s has been employed redundantly. The same UUID is used in the %s "
    "repository ",
    "The UUID %s has been employed redundantly within the WebDispatchers repository. "
    "Web Dispatcher name is %s",
    "The UUID %s has been employed redundantly within the LDAPS repository. LDAP "
    "name is %s",
    "The node %s has an incorrect reference to a non-valid parent entry: %s",
    "The service %s has no valid reference to any item",
    "The shortcut %s has no valid reference to any service",
    "The shortcut %s has no valid reference to any service"};

// Puts the arguments in the places of the message; what looks like a place in an argument stays.
std::string Fill(std::string_view message, std::initializer_list<std::string> arguments) {
    constexpr std::string_view PLACE = "%s";
    std::string text;
    for (const std::string& argument : arguments) {
        const std::size_t place = message.find(PLACE);
        text += message.substr(0, place);
        text += argument;
        message.remove_prefix(place + PLACE.size());
    }
    text += message;
    return text;
}

struct SRepository {
    EKind kind;
    std::string displayName;
    int sharedRule;
    // Columns that hold an empty text, not NULL, when the attribute is absent.
    std::vector<std::string> emptyWhenAbsent;
};

const std::vector<SRepository>& Repositories() {
    static const std::vector<SRepository> kRepositories = {
        {EKind::Service, "Services", 19, {"uuid", "type", "msid", "routerid", "link"}},
        {EKind::Messageserver,
         "Message Servers",
         20,
         {"uuid", "host", "name", "port", "routerid", "ldapid"}},
        {EKind::Router, "Routers", 21, {"uuid", "name", "router"}},
        {EKind::Item, "Items", 22, {"uuid", "serviceid"}},
        {EKind::Workspace, "Workspaces", 23, {"uuid", "name"}},
        {EKind::Webdispatcher, "Webdispatchers", 24, {"uuid", "name", "url", "msid"}},
        {EKind::Node, "Nodes", 25, {"uuid", "name"}},
        {EKind::Ldap,
         "LDAPS",
         26,
         {"uuid", "description", "name", "server", "mode", "node", "options"}}};
    return kRepositories;
}

// Absent and NULL are told apart only by the outer optional: an enclosing element has a uuid, if an
// empty one, and no enclosing element has none.
void Flatten(const SModelEntry& entry, int fileIndex, const std::optional<std::string>& parent,
             TRuleTables& tables) {
    const auto& repositories = Repositories();
    const auto repository = std::ranges::find(repositories, entry.kind, &SRepository::kind);
    if (repository == repositories.end()) {
        return;
    }
    SRuleRow row;
    row.fileIndex = fileIndex;
    for (const auto& attribute : entry.attributes) {
        row.columns[attribute.name] = attribute.value;
    }
    for (const std::string& name : repository->emptyWhenAbsent) {
        row.columns.try_emplace(name);
    }
    if (parent) {
        row.columns["parent_id"] = *parent;
    } else if (entry.kind == EKind::Item) {
        row.columns["parent_id"] = "";
    }
    const std::string uuid = row.columns.at("uuid");
    tables[entry.kind].push_back(std::move(row));
    for (const SModelEntry& child : entry.children) {
        Flatten(child, fileIndex, uuid, tables);
    }
}

bool LooksLikeUuid(const std::string& text) {
    const std::string shape = "hhhhhhhh-hhhh-hhhh-hhhh-hhhhhhhhhhhh";
    if (text.size() != shape.size()) {
        return false;
    }
    const std::string digits = "0123456789abcdefABCDEF";
    for (std::size_t index = 0; index < shape.size(); ++index) {
        const bool isDigit = digits.find(text[index]) != std::string::npos;
        if (shape[index] == 'h' ? !isDigit : text[index] != '-') {
            return false;
        }
    }
    return true;
}

class CReading {
public:
    explicit CReading(const TRuleTables& tables) : m_tables(tables) {}

    std::vector<SExpectedFinding> Read() {
        References();
        Services();
        RepeatedServiceReferences();
        Duplicates();
        Formats();
        Parents();
        SharedUuids();
        std::ranges::sort(m_findings);
        return std::move(m_findings);
    }

private:
    const std::vector<SRuleRow>& Rows(EKind kind) const {
        static const std::vector<SRuleRow> NONE;
        const auto found = m_tables.find(kind);
        return found == m_tables.end() ? NONE : found->second;
    }

    static std::string Text(const SRuleRow& row, std::string_view column) {
        return row.Column(column).value_or("");
    }

    // All values of a column but NULL.
    std::set<std::string> Values(EKind kind, std::string_view column) const {
        std::set<std::string> values;
        for (const SRuleRow& row : Rows(kind)) {
            if (const auto value = row.Column(column)) {
                values.insert(*value);
            }
        }
        return values;
    }

    // Values that a reference can name.
    std::set<std::string> Names(EKind kind, std::string_view column = "uuid") const {
        std::set<std::string> names = Values(kind, column);
        names.erase("");
        return names;
    }

    static SExpectedFinding Finding(int rule, const SRuleRow& row,
                                    std::initializer_list<std::string> arguments) {
        return {rule, Text(row, "uuid"), row.fileIndex,
                Fill(MESSAGES.at(static_cast<std::size_t>(rule)), arguments)};
    }

    void Report(int rule, const SRuleRow& row, std::initializer_list<std::string> arguments) {
        m_findings.push_back(Finding(rule, row, arguments));
    }

    void ReportOnce(int rule, const SRuleRow& row, std::initializer_list<std::string> arguments) {
        SExpectedFinding finding = Finding(rule, row, arguments);
        if (m_once.insert(finding).second) {
            m_findings.push_back(std::move(finding));
        }
    }

    static bool Dangles(const SRuleRow& row, std::string_view column,
                        const std::set<std::string>& names) {
        const std::string reference = Text(row, column);
        return !reference.empty() && !names.contains(reference);
    }

    void References() {
        const auto servers = Names(EKind::Messageserver);
        Reference(0, EKind::Service, "routerid", Names(EKind::Router));
        Reference(16, EKind::Service, "msid", servers);
        Reference(18, EKind::Webdispatcher, "msid", servers);
        const auto services = Names(EKind::Service);
        for (const SRuleRow& row : Rows(EKind::Service)) {
            const auto shortcut = row.Column("shortcut");
            if ((shortcut == "0" || shortcut == "1") && Dangles(row, "link", services)) {
                Report(shortcut == "1" ? 31 : 32, row, {Text(row, "uuid")});
            }
        }
    }

    void Reference(int rule, EKind kind, std::string_view column,
                   const std::set<std::string>& names) {
        for (const SRuleRow& row : Rows(kind)) {
            if (Dangles(row, column, names)) {
                Report(rule, row, {Text(row, "uuid"), Text(row, column)});
            }
        }
    }

    void Services() {
        const std::set<std::string> operations = {"0", "1", "2", "3", "9", "-1"};
        const auto dispatched = Names(EKind::Webdispatcher, "msid");
        const auto shown = Names(EKind::Item, "serviceid");
        for (const SRuleRow& row : Rows(EKind::Service)) {
            const std::string uuid = Text(row, "uuid");
            const std::string msid = Text(row, "msid");
            const auto operation = row.Column("sncop");
            if (operation && !operations.contains(*operation)) {
                Report(1, row, {uuid, *operation});
            }
            if (row.Column("uses_webdispatcher") == "1" && !dispatched.contains(msid)) {
                Report(17, row, {uuid, msid});
            }
            if (!shown.contains(uuid)) {
                Report(30, row, {uuid});
            }
        }
    }

    void RepeatedServiceReferences() {
        std::map<std::string, std::vector<int>> files;
        for (const SRuleRow& row : Rows(EKind::Item)) {
            if (const auto service = row.Column("serviceid")) {
                files[*service].push_back(row.fileIndex);
            }
        }
        for (const auto& [service, where] : files) {
            if (where.size() > 1) {
                m_findings.push_back({2, service, where.front(), Fill(MESSAGES[2], {service})});
            }
        }
    }

    // The rows of each uuid that more than one row has.
    std::vector<std::vector<const SRuleRow*>> Copies(EKind kind) const {
        std::map<std::string, std::vector<const SRuleRow*>> groups;
        for (const SRuleRow& row : Rows(kind)) {
            if (const auto uuid = row.Column("uuid")) {
                groups[*uuid].push_back(&row);
            }
        }
        std::vector<std::vector<const SRuleRow*>> copies;
        for (auto& [uuid, rows] : groups) {
            if (rows.size() > 1) {
                copies.push_back(std::move(rows));
            }
        }
        return copies;
    }

    void Duplicates() {
        DuplicateServers();
        for (const auto& [rule, kind] :
             std::initializer_list<std::pair<int, EKind>>{{5, EKind::Router},
                                                          {6, EKind::Service},
                                                          {7, EKind::Node},
                                                          {8, EKind::Item},
                                                          {9, EKind::Workspace},
                                                          {27, EKind::Webdispatcher},
                                                          {28, EKind::Ldap}}) {
            for (const auto& copies : Copies(kind)) {
                for (const SRuleRow* row : copies) {
                    ReportDuplicate(rule, kind, *row);
                }
            }
        }
    }

    void ReportDuplicate(int rule, EKind kind, const SRuleRow& row) {
        if (kind == EKind::Router || kind == EKind::Item) {
            ReportOnce(rule, row, {Text(row, "uuid")});
        } else {
            ReportOnce(rule, row, {Text(row, "uuid"), Text(row, "name")});
        }
    }

    void DuplicateServers() {
        for (const auto& copies : Copies(EKind::Messageserver)) {
            const bool differ = std::ranges::any_of(copies, [&copies](const SRuleRow* row) {
                return Text(*row, "host") != Text(*copies.front(), "host") ||
                       Text(*row, "name") != Text(*copies.front(), "name");
            });
            for (const SRuleRow* row : copies) {
                ReportOnce(differ ? 3 : 4, *row,
                           {Text(*row, "uuid"), Text(*row, "name"), Text(*row, "host")});
            }
        }
    }

    void Formats() {
        for (const auto& [rule, kind] :
             std::initializer_list<std::pair<int, EKind>>{{10, EKind::Messageserver},
                                                          {11, EKind::Router},
                                                          {12, EKind::Service},
                                                          {13, EKind::Node},
                                                          {14, EKind::Item}}) {
            for (const SRuleRow& row : Rows(kind)) {
                const auto uuid = row.Column("uuid");
                if (uuid && !LooksLikeUuid(*uuid)) {
                    Report(rule, row, {*uuid});
                }
            }
        }
    }

    // An item without any parent is nobody's orphan, one with an empty parent is; a node without
    // any parent is an orphan. An empty uuid names nothing.
    void Parents() {
        std::set<std::string> holders = Values(EKind::Workspace, "uuid");
        holders.merge(Values(EKind::Node, "uuid"));
        holders.erase("");
        for (const SRuleRow& row : Rows(EKind::Item)) {
            const auto parent = row.Column("parent_id");
            if (parent && (parent->empty() || !holders.contains(*parent))) {
                Report(15, row, {Text(row, "uuid"), *parent});
            }
        }
        for (const SRuleRow& row : Rows(EKind::Node)) {
            const auto parent = row.Column("parent_id");
            if (!parent || !holders.contains(*parent)) {
                Report(29, row, {Text(row, "uuid"), parent.value_or("")});
            }
        }
    }

    void SharedUuids() {
        for (const SRepository& own : Repositories()) {
            for (const SRepository& other : Repositories()) {
                if (own.kind == other.kind) {
                    continue;
                }
                const std::set<std::string> uuids = Values(other.kind, "uuid");
                for (const SRuleRow& row : Rows(own.kind)) {
                    const auto uuid = row.Column("uuid");
                    if (uuid && uuids.contains(*uuid)) {
                        ReportOnce(own.sharedRule, row, {*uuid, other.displayName});
                    }
                }
            }
        }
    }

    const TRuleTables& m_tables;
    std::vector<SExpectedFinding> m_findings;
    std::set<SExpectedFinding> m_once;
};

} // namespace

TRuleTables TablesOf(const Bench::SLandscapeModel& model) {
    TRuleTables tables;
    for (std::size_t index = 0; index < model.files.size(); ++index) {
        for (const SModelEntry& entry : model.files[index].entries) {
            Flatten(entry, static_cast<int>(index), std::nullopt, tables);
        }
    }
    return tables;
}

std::vector<SExpectedFinding> ExpectedFindings(const TRuleTables& tables) {
    return CReading(tables).Read();
}

std::vector<SExpectedFinding> ExpectedFindings(const Bench::SLandscapeModel& model) {
    return ExpectedFindings(TablesOf(model));
}

} // namespace Nax::FrontEnd::XMLDB::Testing
