// SPDX-License-Identifier: Apache-2.0
// Record texts: whatever stands in a value comes back as it was, by both ways into the database.
#include "fuzz_support.h"

#include "formats/text_encoding.h"
#include "processor/record_values.h"
#include "record_text.h"
#include "support/text_conversion.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace {

using namespace Nax::FrontEnd::XMLDB;
using Fuzzing::Require;

using Columns = std::vector<std::string>;
using Values = std::vector<std::optional<std::string>>;

struct STarget {
    DBOperations operation;
    const char* table;
};

constexpr STarget kTargets[] = {
    {AddWorkspace, "Workspace"}, {AddMessageServer, "Messageserver"},
    {AddRouter, "Router"},       {AddWebDispatcher, "Webdispatcher"},
    {AddNode, "Node"},           {AddLDAP, "LDAP"},
    {AddService, "Service"},     {AddParameter, "Parameter"},
    {AddItem, "Item"},           {AddServerConfigurationFile, "Include"},
};

/// One database for each way: at once, and by the record loader within its transaction.
class CDatabases {
public:
    CDatabases() : m_direct(Make(Normal, "direct")), m_queued(Make(Transactional, "queued")) {
        m_loader = std::make_unique<CRecordLoader>(*m_queued);
        Require(m_loader->Begin(), "the loader begins", m_queued->GetLastDBError());
    }

    CDBProcessor& Direct() { return *m_direct; }
    CDBProcessor& Queued() { return *m_queued; }
    CRecordLoader& Loader() { return *m_loader; }
    /// Its queue is never run, and thrown away before it takes much memory.
    CDBProcessor& Waiting() {
        constexpr int kMostRuns = 2000;
        if (m_waitingRuns++ % kMostRuns == 0) {
            m_waiting = Make(Transactional, "waiting");
        }
        return *m_waiting;
    }

private:
    std::shared_ptr<CDBProcessor> Make(DBMode mode, const char* folder) {
        OverrideKnownFolder(KnownFolder::AppData, m_scratch.Path("settings").c_str());
        OverrideKnownFolder(KnownFolder::LocalAppData, m_scratch.Path(folder).c_str());
        auto processor = std::make_shared<CDBProcessor>(true, mode, _bstr_t(), _bstr_t());
        Require(processor->Process(createDB, std::wstringstream()), "a database can be made",
                processor->GetLastDBError());
        processor->DB_ExecuteQuery("PRAGMA synchronous = OFF; PRAGMA journal_mode = MEMORY");
        return processor;
    }

    Fuzzing::CScratch m_scratch;
    std::shared_ptr<CDBProcessor> m_direct;
    std::shared_ptr<CDBProcessor> m_queued;
    std::shared_ptr<CDBProcessor> m_waiting;
    int m_waitingRuns = 0;
    std::unique_ptr<CRecordLoader> m_loader;
};

std::string Literal(const std::optional<std::string>& value, bool escaped) {
    std::string sql;
    // A marker inside of a plain literal is one: only the program's own literals hide it.
    if (escaped && value && value->find("f_") == std::string::npos) {
        return "'" + TextProcessor().EscapeSql(*value) + "'";
    }
    LandscapeValidator::AppendLiteral(
        sql, value ? std::optional<std::string_view>(*value) : std::nullopt);
    return sql;
}

std::string RecordText(const Columns& columns, const Values& values, bool escaped) {
    const bool hasData = std::find(columns.begin(), columns.end(), "") != columns.end();
    std::string text = hasData ? "{" : "{f_data:";
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const std::string& name = columns[column];
        text += name == "file_id" ? "" : "f_" + (name.empty() ? "data" : name) + ":";
        text += Literal(values[column], escaped) + ',';
    }
    return text;
}

/// A text as XML can hold it: UTF-8 without the two characters that SQLite, like XML, takes for
/// none.
std::string MakeValue(std::string_view bytes) {
    return TextProcessor().ReplaceAll(LandscapeValidator::ValidUtf8(bytes),
                                      {{"\xEF\xBF\xBE", "?"}, {"\xEF\xBF\xBF", "?"}});
}

void CheckRow(CDBProcessor& processor, const char* table, const Columns& columns,
              const Values& values) {
    std::string sql;
    for (const std::string& column : columns) {
        sql += (sql.empty() ? "SELECT \"" : ",\"") + column + '"';
    }
    std::shared_ptr<IRecordset> row;
    Require(processor.DB_ExecuteQuery((sql + " FROM " + table).c_str(), row) && row->MoveNext(),
            "the record has its row", processor.GetLastDBError());
    for (int column = 0; column < row->GetColumnCount(); ++column) {
        const auto& expected = values[static_cast<std::size_t>(column)];
        Require(row->IsNull(column) == !expected, "NULL stays NULL", table);
        const std::string found(row->GetString(column).GetString());
        Require(found == expected.value_or(""), "the value comes back byte for byte",
                expected.value_or("") + " / " + found);
    }
    Require(!row->MoveNext(), "one record gives one row", table);
    row->Close();
}

void CheckWellFormed(CDatabases& databases, const STarget& target, Fuzzing::CPieces& pieces,
                     bool escaped) {
    const Columns columns = databases.Direct().GetMapper()->GetTables().at(target.table);
    Values values;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const std::string_view piece = pieces.Text();
        values.emplace_back();
        if (!piece.starts_with('\x01')) {
            values.back() = MakeValue(piece);
        }
    }
    CDBProcessor& direct = databases.Direct();
    const std::string text = RecordText(columns, values, escaped);
    Require(direct.Process(target.operation, std::wstringstream(ToWide(text))),
            "no value breaks the statement", direct.GetLastDBError());
    CheckRow(direct, target.table, columns, values);
    direct.DB_ExecuteQuery((std::string("DELETE FROM ") + target.table).c_str());

    std::vector<SRecordValue> present;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        if (values[column]) {
            present.push_back({column, *values[column]});
        }
    }
    CRecordLoader& loader = databases.Loader();
    loader.BeginGroup();
    loader.Add(loader.FindTable(target.table), present);
    CheckRow(databases.Queued(), target.table, columns, values);
    loader.EndGroup(false);
}

/// Any text is taken; both ways of cutting out the markers give the same.
void CheckAnyText(CDatabases& databases, const STarget& target, std::string_view raw) {
    const Columns columns = databases.Direct().GetMapper()->GetTables().at(target.table);
    const std::string text = LandscapeValidator::ValidUtf8(raw);
    Require(MakeValueList(text, columns) == MakeValueListStepwise(text, columns),
            "markers are cut out all at once as one by one", text);
    CDBProcessor& queue = databases.Waiting();
    Require(queue.Process(target.operation, std::wstringstream(ToWide(text))),
            "any text can be queued", queue.GetLastDBError());
    const _bstr_t name(text.c_str());
    const SLinkTableProperties link(name, name, name, name, name);
    queue.Process(AddLinkTable, link);
    queue.Process(AddLinkTalbeRecord, link);
}

void CheckTexts(std::string_view raw) {
    const TextProcessor texts;
    const std::string text(raw);
    std::string joined;
    for (const std::string& piece : texts.Split(text, ',')) {
        joined += piece + ',';
    }
    Require(joined == text + ',', "the pieces of a text are the text", text);
    Require(texts.ReplaceAll(texts.EscapeSql(text), {{"''", "'"}}) == text,
            "SQL escapes can be undone", text);
    const std::string xml = texts.EscapeXml(text);
    Require(xml.find_first_of("<>'\"\n\r\t") == std::string::npos, "nothing is left to escape",
            xml);
    Require(texts.ReplaceAll(xml, {{"&lt;", "<"},
                                   {"&gt;", ">"},
                                   {"&apos;", "'"},
                                   {"&quot;", "\""},
                                   {"&#x0A;", "\n"},
                                   {"&#x0D;", "\r"},
                                   {"&#x09;", "\t"},
                                   {"&amp;", "&"}}) == text,
            "XML escapes can be undone", text);
    const std::string_view trimmed = texts.TrimLeft(texts.TrimRight(text));
    constexpr std::string_view kBlanks = " \t\r\n";
    Require(trimmed.empty() || (kBlanks.find(trimmed.front()) == std::string_view::npos &&
                                kBlanks.find(trimmed.back()) == std::string_view::npos),
            "trimmed texts neither begin nor end with blanks", text);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CDatabases databases;
    Fuzzing::CPieces pieces(data, size);
    const STarget& target = kTargets[pieces.Byte() % std::size(kTargets)];
    const std::uint8_t mode = pieces.Byte() % 3;
    CheckTexts(pieces.Rest());
    if (mode == 2) {
        CheckAnyText(databases, target, pieces.Rest());
    } else {
        CheckWellFormed(databases, target, pieces, mode == 1);
    }
    return 0;
}
