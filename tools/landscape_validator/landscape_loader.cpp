// SPDX-License-Identifier: Apache-2.0
#include "landscape_loader.h"

#include "element_collector.h"
#include "printable.h"
#include "record_text.h"
#include "remote_includes.h"

#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

constexpr int kNoFileIndex = -1;
constexpr char kNoFileUrl[] = "No explicit files information";

// Memos have no operation of their own; their texts are in the services' rows.
constexpr char kMemoRows[] =
    "INSERT INTO Memos (\"\", file_id) SELECT \"\", file_id FROM Services WHERE \"\" IS NOT NULL";

/// Why an included file is not even opened; empty when it is. A landscape may name anything:
/// reading a pipe would wait for ever, a device may never end.
std::string WhyNotOpened(const SLandscapeFile& file) {
    if (file.includedBy.empty()) {
        return {};
    }
    std::error_code error;
    const fs::file_status status = fs::status(file.path, error);
    if (!fs::exists(status)) {
        return error ? error.message() : "No such file or directory";
    }
    return fs::is_regular_file(status) ? std::string()
           : fs::is_directory(status)  ? "it is a folder"
                                       : "it is a device or a pipe, not a file";
}

/// Where a file that is not read is named: nobody can open the file itself to find out.
std::string IncludedAt(const SLandscapeFile& file) {
    return " It is included by '" + file.includedBy + "' in line " +
           std::to_string(file.includeLine) + ".";
}

std::string ParagraphOf(const SFileOutcome& outcome) {
    return "<p>" + outcome.remark + outcome.remarkEnd + "\n</p>";
}

/// True for a file that is read from a scratch folder, whose name must not show.
bool IsScratchCopy(const SLandscapeFile& file) {
    return !file.fetchUrl.empty() || (file.includedBy.empty() && file.path != file.url);
}

std::string WithNameOf(const SLandscapeFile& file, std::string text) {
    const std::string name = Printable(file.url);
    for (std::size_t at = text.find(file.path); at != std::string::npos;
         at = text.find(file.path, at + name.size())) {
        text.replace(at, file.path.size(), name);
    }
    return text;
}

} // namespace

CLandscapeLoader::CLandscapeLoader(CDBProcessor& processor, CFileList& files)
    : m_processor(processor),
      m_files(files),
      m_tables(processor),
      m_schema(processor.GetXsdFile().empty() ? processor.GetXsd()
                                              : _bstr_t(processor.GetXsdFile().c_str())),
      m_recordLoader(processor) {}

CLandscapeLoader::~CLandscapeLoader() = default;

bool CLandscapeLoader::Load(const Progress& progress) {
    if (!m_recordLoader.Begin()) {
        return LoadFiles(progress);
    }
    m_writer = std::make_unique<CRecordWriter>(m_recordLoader, m_tables, m_positions);
    const bool loaded = LoadFiles(progress);
    m_writer->Finish();
    m_entryCount = m_writer->GetEntryCount();
    m_writer.reset();
    m_recordLoader.End();
    return loaded;
}

bool CLandscapeLoader::LoadFiles(const Progress& progress) {
    bool loaded = BeginFile(kNoFileIndex, kNoFileUrl, std::nullopt, std::nullopt);
    if (m_writer != nullptr) {
        m_writer->EndFile(true);
    }
    // The list grows while it is walked.
    for (std::size_t index = 0; index < m_files.GetCount(); ++index) {
        const SLandscapeFile& file = m_files[index];
        progress(file, m_files.GetCount());
        loaded = BeginFile(file.index, file.url, file.description, file.name) && loaded;
        m_outcomes.emplace_back();
        loaded = LoadFile(file) && loaded;
    }
    return loaded;
}

bool CLandscapeLoader::LoadFile(const SLandscapeFile& file) {
    CElementCollector collector(
        m_tables,
        m_writer == nullptr ? CRecordBuffer::TakeBlock()
                            : [this](std::string&& block) { m_writer->Add(std::move(block)); },
        m_files.GetLimit());
    const bool keep = TakeFile(file, collector);
    if (m_writer == nullptr) {
        return m_failure.empty() &&
               (!keep || AddRecords(collector.GetRecords(), std::to_string(file.index)));
    }
    collector.Flush();
    m_writer->EndFile(keep);
    return m_failure.empty();
}

/// Whether the file's entries count.
bool CLandscapeLoader::TakeFile(const SLandscapeFile& file, CElementCollector& collector) {
    if (!file.notRead.empty()) {
        Skip(file, file.fault ? ValidationAgainstXSDFailed : ValidationInfo, file.notRead);
        return false;
    }
    if (!file.fetchUrl.empty()) {
        return TakeRemote(file, collector);
    }
    if (const std::string reason = WhyNotOpened(file); !reason.empty()) {
        Skip(file, ValidationAgainstXSDFailed, "The included file cannot be read: " + reason + ".");
        return false;
    }
    return ReadFile(file, collector);
}

bool CLandscapeLoader::ReadFile(const SLandscapeFile& file, CElementCollector& collector) {
    SFileOutcome& outcome = m_outcomes.back();
    _bstr_t message;
    const bool valid = m_processor.GetValidator()->Validate(
        true, file.url.c_str(), file.path.c_str(), m_schema, message, collector, outcome.result);
    if (!valid && outcome.result.total == 0) {
        // No fault of the file: the check itself could not be made.
        const char* const text = message;
        m_failure = text == nullptr ? "out of memory" : text;
        return false;
    }
    outcome.code = valid ? ValidationAgainstXSDPassed : ValidationAgainstXSDFailed;
    if (!valid && IsScratchCopy(file)) {
        message = _bstr_t(WithNameOf(file, static_cast<const char*>(message)).c_str());
        for (SXmlIssue& issue : outcome.result.issues) {
            issue.reason = WithNameOf(file, issue.reason);
        }
    }
    m_findings[_bstr_t(file.url.c_str())] = {message, outcome.code};
    if (!outcome.result.wellFormed) {
        return false;
    }
    for (const SInclude& include : collector.GetIncludes()) {
        m_files.AddInclude(file, include);
    }
    return true;
}

bool CLandscapeLoader::TakeRemote(const SLandscapeFile& file, CElementCollector& collector) {
    if (!m_remote) {
        const SIncludeOptions& options = m_files.GetOptions();
        m_remote =
            std::make_unique<CRemoteIncludes>(options, MakeHttpFetcher(options.certificates));
    }
    const SFetchedFile fetched = m_remote->Fetch(file.fetchUrl);
    if (!fetched.failure.empty()) {
        Skip(file, ValidationAgainstXSDFailed,
             "The included file cannot be fetched: " + fetched.failure + ".");
        return false;
    }
    const auto index = static_cast<std::size_t>(file.index);
    if (!m_files.SetFetched(index, fetched.path, fetched.foundUrl, fetched.foundIdentity)) {
        Skip(file, ValidationInfo,
             "The server redirects to '" + fetched.foundIdentity +
                 "', which is another file of this run.");
        return false;
    }
    const bool keep = ReadFile(file, collector);
    m_files.ForgetPath(index);
    AddRemark(file, fetched);
    return keep;
}

void CLandscapeLoader::AddRemark(const SLandscapeFile& file, const SFetchedFile& fetched) {
    if (fetched.remark.empty()) {
        return;
    }
    m_outcomes.back().remark = fetched.remark;
    m_outcomes.back().remarkEnd = fetched.age;
    SchemaFinding& finding = m_findings[_bstr_t(file.url.c_str())];
    const std::string message = ParagraphOf(m_outcomes.back());
    if (finding.second == ValidationAgainstXSDPassed) {
        finding = {_bstr_t(message.c_str()), ValidationInfo};
    } else {
        finding.first = _bstr_t((message + static_cast<const char*>(finding.first)).c_str());
    }
}

void CLandscapeLoader::Skip(const SLandscapeFile& file, ResultCodes code, const std::string& note) {
    SFileOutcome& outcome = m_outcomes.back();
    outcome.code = code;
    outcome.note = note;
    outcome.place = IncludedAt(file);
    // In the form of a schema check's message, which is the one that readers of results know.
    const std::string whole = note + outcome.place;
    const std::string message =
        "<p><strong>File used for validation: </strong> '" + Printable(file.url) +
        "'\nValidation against XSD scheme: failed!\n\nReason: " + whole +
        "\nSource: \nLine: 0\n</p><p>\n<strong>Issue # 1</strong>: " + whole +
        "\n<strong>Source:</strong> \n<strong>Line:</strong> 0\n</p>";
    m_findings[_bstr_t(file.url.c_str())] = {_bstr_t(message.c_str()), code};
}

void CLandscapeLoader::ForgetViolations() {
    for (std::size_t index = 0; index < m_outcomes.size(); ++index) {
        SFileOutcome& outcome = m_outcomes[index];
        if (outcome.note.empty() && outcome.result.wellFormed) {
            outcome.code = ValidationAgainstXSDPassed;
            outcome.result = {};
            outcome.result.wellFormed = true;
            SchemaFinding& finding = m_findings[_bstr_t(m_files[index].url.c_str())];
            finding.second = outcome.code;
            if (!outcome.remark.empty()) { // that an old copy was read is no violation
                finding = {_bstr_t(ParagraphOf(outcome).c_str()), ValidationInfo};
            }
        }
    }
}

bool CLandscapeLoader::BeginFile(int index, const std::string& url,
                                 const std::optional<std::string>& description,
                                 const std::optional<std::string>& name) {
    const std::size_t place = m_tables.Find("Include");
    const STable& table = m_tables[place];
    const std::string indexText = std::to_string(index);
    std::vector<CRecordBuffer::SValue> values;
    const auto set = [&](const char* attribute, const std::optional<std::string_view>& value) {
        const auto column = table.attributes.find(attribute);
        if (column != table.attributes.end() && value) {
            values.push_back({column->second, *value});
        }
    };
    set("url", url);
    set("index", indexText);
    set("description", description);
    set("name", name);
    if (m_writer != nullptr) {
        std::string row;
        CRecordBuffer::Pack(row, place, table.columns.size(), 0, values);
        m_writer->BeginFile(index, std::move(row));
        return true;
    }
    CRecordBuffer::Values byColumn(table.columns.size());
    for (const CRecordBuffer::SValue& value : values) {
        byColumn[value.column] = value.text;
    }
    return Process(AddServerConfigurationFile, MakeRecordText(table, byColumn, indexText));
}

bool CLandscapeLoader::AddRecords(const CRecordBuffer& records, const std::string& fileIndex) {
    bool added = true;
    records.ForEach([&](const CRecordBuffer::SRecord& record) {
        const STable& table = m_tables[record.table];
        if (table.operation) {
            added =
                Process(*table.operation, MakeRecordText(table, record.values, fileIndex)) && added;
            m_positions.Add(record.table, record.line);
            ++m_entryCount;
        } else {
            m_remainingRows.push_back(MakeInsert(table, record.values, fileIndex));
        }
    });
    return added;
}

bool CLandscapeLoader::Process(DBOperations operation, const std::string& record) {
    const _bstr_t wide(record.c_str());
    m_stream.str(std::wstring(static_cast<const wchar_t*>(wide), wide.length()));
    return m_processor.Process(operation, m_stream);
}

bool CLandscapeLoader::InsertRemainingRows() {
    const std::shared_ptr<IDatabase> database = m_processor.GetDatabase();
    bool inserted = database->BeginTransaction();
    for (const std::string& sql : m_remainingRows) {
        inserted = m_processor.DB_ExecuteQuery(sql.c_str()) && inserted;
    }
    inserted = m_processor.DB_ExecuteQuery(kMemoRows) && inserted;
    return database->Commit() && inserted;
}

} // namespace LandscapeValidator
