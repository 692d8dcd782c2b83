// SPDX-License-Identifier: Apache-2.0
#include "landscape_loader.h"

#include "element_collector.h"
#include "printable.h"
#include "record_text.h"

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

// A landscape may name anything; reading a pipe would wait for ever, a device may never end.
bool IsDevice(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

} // namespace

CLandscapeLoader::CLandscapeLoader(CDBProcessor& processor, CFileList& files)
    : m_processor(processor),
      m_files(files),
      m_tables(processor),
      m_schema(processor.GetXsdFile().empty() ? processor.GetXsd()
                                              : _bstr_t(processor.GetXsdFile().c_str())) {}

bool CLandscapeLoader::Load(const Progress& progress) {
    bool loaded = AddFileRow(kNoFileIndex, kNoFileUrl, std::nullopt, std::nullopt);
    // The list grows while it is walked.
    for (std::size_t index = 0; index < m_files.GetCount(); ++index) {
        const SLandscapeFile& file = m_files[index];
        progress(file, m_files.GetCount());
        loaded = AddFileRow(file.index, file.url, file.description, file.name) && loaded;
        m_outcomes.emplace_back();
        if (file.path.empty()) {
            Skip(file, ValidationInfo,
                 "The included file was not followed: only local files are read.");
        } else if (!file.includedBy.empty() && IsDevice(file.path)) {
            Skip(file, ValidationAgainstXSDFailed,
                 "The included file cannot be read: it is a device or a pipe, not a file.");
        } else {
            loaded = LoadFile(file) && loaded;
        }
    }
    return loaded;
}

bool CLandscapeLoader::LoadFile(const SLandscapeFile& file) {
    SFileOutcome& outcome = m_outcomes.back();
    CElementCollector collector(m_tables);
    _bstr_t message;
    const bool valid = m_processor.GetValidator()->Validate(
        true, file.url.c_str(), file.path.c_str(), m_schema, message, collector, outcome.result);
    if (!valid && outcome.result.total == 0) {
        // No fault of the file: the check itself could not be made.
        m_failure = static_cast<const char*>(message);
        return false;
    }
    outcome.code = valid ? ValidationAgainstXSDPassed : ValidationAgainstXSDFailed;
    m_findings[_bstr_t(file.url.c_str())] = {message, outcome.code};
    if (!outcome.result.wellFormed) {
        return true;
    }
    for (const SInclude& include : collector.GetIncludes()) {
        m_files.AddInclude(file, include);
    }
    return AddRecords(collector.GetRecords(), std::to_string(file.index));
}

void CLandscapeLoader::Skip(const SLandscapeFile& file, ResultCodes code, const std::string& note) {
    SFileOutcome& outcome = m_outcomes.back();
    outcome.code = code;
    outcome.note = note;
    // In the form of a schema check's message, which is the one that readers of results know.
    const std::string message =
        "<p><strong>File used for validation: </strong> '" + Printable(file.url) +
        "'\nValidation against XSD scheme: failed!\n\nReason: " + note +
        "\nSource: \nLine: 0\n</p><p>\n<strong>Issue # 1</strong>: " + note +
        "\n<strong>Source:</strong> \n<strong>Line:</strong> 0\n</p>";
    m_findings[_bstr_t(file.url.c_str())] = {_bstr_t(message.c_str()), code};
}

void CLandscapeLoader::ForgetViolations() {
    for (std::size_t index = 0; index < m_outcomes.size(); ++index) {
        SFileOutcome& outcome = m_outcomes[index];
        if (outcome.note.empty() && outcome.result.wellFormed) {
            outcome = {};
            m_findings[_bstr_t(m_files[index].url.c_str())].second = outcome.code;
        }
    }
}

bool CLandscapeLoader::AddFileRow(int index, const std::string& url,
                                  const std::optional<std::string>& description,
                                  const std::optional<std::string>& name) {
    const STable& table = m_tables[m_tables.Find("Include")];
    const std::string indexText = std::to_string(index);
    CRecordBuffer::Values values(table.columns.size());
    const auto set = [&](const char* attribute, const std::optional<std::string_view>& value) {
        const auto place = table.attributes.find(attribute);
        if (place != table.attributes.end()) {
            values[place->second] = value;
        }
    };
    set("url", url);
    set("index", indexText);
    set("description", description);
    set("name", name);
    return Process(AddServerConfigurationFile, MakeRecordText(table, values, indexText));
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
