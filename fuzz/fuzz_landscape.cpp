// SPDX-License-Identifier: Apache-2.0
// A landscape from its bytes to findings, documents and page.
//
// Each input is validated and loaded, which takes some milliseconds, and compared with a plain
// parser. A whole run, whose outputs are checked, takes a hundred times as long: some go through
// it, chosen by their content, so that an input always takes the same way.
#include "fuzz_support.h"

#include "element_collector.h"
#include "file_list.h"
#include "plain_parse.h"
#include "record_text.h"
#include "validate_command.h"

#include <naxfewxmldb/naxfewxmldb.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace {

using namespace Nax::FrontEnd::XMLDB;
using namespace LandscapeValidator;
using Fuzzing::PlainResult;
using Fuzzing::Require;
namespace fs = std::filesystem;

const Fuzzing::CScratch& Scratch() {
    static const Fuzzing::CScratch scratch;
    return scratch;
}

/// A database with the schema's tables, to which entries are added and taken back. What the loader
/// reads from the schema for each run is read once here, which is why it is not the loader.
class CTables {
public:
    CTables() : m_processor(Make()), m_tables(*m_processor), m_schema(m_processor->GetXsd()) {}

    SXmlValidationResult Load(const std::string& path, bool& valid) {
        CElementCollector collector(m_tables);
        CXmlXsdValidator validator(true);
        SXmlValidationResult result;
        _bstr_t message;
        valid = validator.Validate(true, "landscape.xml", path.c_str(), m_schema, message,
                                   collector, result);
        Require(message.length() > 0, "the outcome is told");
        Require(valid || result.total > 0, "the schema can be used",
                static_cast<const char*>(message));
        if (result.wellFormed) {
            Store(collector);
        }
        return result;
    }

private:
    static std::shared_ptr<CDBProcessor> Make() {
        OverrideKnownFolder(KnownFolder::AppData, Scratch().Path("settings").c_str());
        OverrideKnownFolder(KnownFolder::LocalAppData, Scratch().Path("data").c_str());
        auto processor = std::make_shared<CDBProcessor>(true, Normal, _bstr_t(), _bstr_t());
        Require(processor->Process(createDB, std::wstringstream()), "a database can be made",
                processor->GetLastDBError());
        return processor;
    }

    void Store(const CElementCollector& collector) {
        m_processor->DB_ExecuteQuery("BEGIN");
        collector.GetRecords().ForEach([this](const CRecordBuffer::SRecord& record) {
            const STable& table = m_tables[record.table];
            if (table.operation) {
                const _bstr_t text(MakeRecordText(table, record.values, "0").c_str());
                const std::wstring wide(static_cast<const wchar_t*>(text), text.length());
                Require(m_processor->Process(*table.operation, std::wstringstream(wide)),
                        "every record can be stored", m_processor->GetLastDBError());
            }
        });
        m_processor->DB_ExecuteQuery("ROLLBACK");
        CFileList files;
        files.AddCommandLineFile("landscape.xml");
        for (const SInclude& include : collector.GetIncludes()) {
            files.AddInclude(files[0], include);
        }
    }

    std::shared_ptr<CDBProcessor> m_processor;
    CLandscapeTables m_tables;
    _bstr_t m_schema;
};

void CheckResult(const SXmlValidationResult& result, bool valid, PlainResult plain) {
    const std::string reason = result.issues.empty() ? "" : result.issues.front().reason;
    Require(plain != PlainResult::IllFormed || !result.wellFormed,
            "what is not well-formed is told as that", reason);
    Require(plain == PlainResult::Valid || !valid, "what is not valid is told as that", reason);
    Require(valid == (result.wellFormed && result.total == 0), "a valid file has no faults");
    Require(valid || !reason.empty(), "a fault has its reason");
    for (const SXmlIssue& issue : result.issues) {
        Require(issue.source.size() < 2000 && issue.line >= 0, "lines at fault are cut",
                issue.source);
    }
}

SOptions RunOptions(const std::string& path) {
    SOptions options;
    options.files = {path};
    options.outputFolder = Scratch().Path("report");
    options.keepBackups = 0;
    options.report.outputs = {{Format::Text, ""},
                              {Format::Github, Scratch().Path("out.github")},
                              {Format::Junit, Scratch().Path("out.junit")},
                              {Format::Sarif, Scratch().Path("out.sarif")},
                              {Format::Json, Scratch().Path("out.json")}};
    return options;
}

bool IsPrintable(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return (code < 0x20 && c != '\n' && c != '\t') || code == 0x7F;
    });
}

void CheckDocuments() {
    for (const char* name : {"out.json", "out.sarif"}) {
        const std::string text = Fuzzing::ReadFile(Scratch().Path(name));
        Require(nlohmann::json::accept(text), "a document is JSON", text);
        Require(IsPrintable(text), "a document can be shown on a terminal", text);
    }
    CXmlDbDocument junit;
    Require(junit.Load(Scratch().Path("out.junit").c_str()), "a document is XML",
            junit.GetLastErrorText());
    std::istringstream github(Fuzzing::ReadFile(Scratch().Path("out.github")));
    for (std::string line; std::getline(github, line);) {
        Require(line.starts_with("::") && IsPrintable(line), "each line is a command", line);
    }
}

/// Markup of the page comes from its template, so there is always as much of it; but for the rows
/// of its summary, each of which has the same.
std::ptrdiff_t CountMarkup() {
    constexpr std::ptrdiff_t kOfRow = 16;
    std::istringstream page(Fuzzing::ReadFile(Scratch().Path("report/ValidationResults.htm")));
    std::ptrdiff_t all = 0;
    for (std::string line; std::getline(page, line);) {
        const std::ptrdiff_t count =
            std::count(line.begin(), line.end(), '<') + std::count(line.begin(), line.end(), '>');
        const bool isRow = line.starts_with("<tr><td>");
        Require(!isRow || count == kOfRow, "no text becomes markup of the summary", line);
        all += isRow ? 0 : count;
    }
    return all;
}

ExitCode Run(const std::string& path) {
    std::error_code ignored;
    fs::remove_all(Scratch().Path("report"), ignored);
    std::ostringstream out;
    std::ostringstream err;
    const SOptions options = RunOptions(path);
    const ExitCode exitCode = RunValidate(options, out, err);
    Require(IsPrintable(out.str()) && IsPrintable(err.str()), "what is printed is printable",
            out.str() + err.str());
    Require(exitCode != ExitCode::Failure, "a landscape of any content can be checked", err.str());
    CheckDocuments();
    return exitCode;
}

bool IsRunWhole(std::string_view text, bool wellFormed) {
    std::uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    }
    return (hash >> 8U) % (wellFormed ? 32 : 256) == 0;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CTables tables;
    static const std::ptrdiff_t markup = [] {
        Run(Scratch().Write("landscape.xml", "<Landscape/>"));
        return CountMarkup();
    }();
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string path = Scratch().Write("landscape.xml", text);
    const PlainResult plain = Fuzzing::ParsePlainly(text);
    bool valid = false;
    const SXmlValidationResult result = tables.Load(path, valid);
    CheckResult(result, valid, plain);
    if (IsRunWhole(text, result.wellFormed)) {
        const ExitCode exitCode = Run(path);
        Require(exitCode == ExitCode::Findings || plain == PlainResult::Valid,
                "faults of the schema fail the run");
        Require(CountMarkup() == markup, "no text becomes markup of the page");
    }
    return 0;
}
