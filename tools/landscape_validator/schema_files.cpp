// SPDX-License-Identifier: Apache-2.0
#include "schema_files.h"

#include "readable_file.h"

#include <array>
#include <filesystem>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;
namespace fs = std::filesystem;

namespace {

constexpr int kStylesheetResource = 101;
constexpr int kSchemaResource = 106;

// What the loader and the commit count on, under the names that the commit gives them.
constexpr std::array kNeededTables = {"Files",    "Items",      "LDAPS",          "Memos",
                                      "Nodes",    "Parameters", "Messageservers", "Routers",
                                      "Services", "Workspaces", "Webdispatchers"};

bool LoadDocument(CXmlDbDocument& document, const std::string& path, int resource) {
    return path.empty() ? document.LoadXML(CXmlDbDocument::LoadInternalResource(resource, nullptr))
                        : document.Load(path.c_str());
}

std::string Absolute(const std::string& path) {
    return path.empty() ? path : fs::absolute(path).string();
}

/// Null when a document cannot be loaded; `failure` then says why.
std::shared_ptr<CXsdToDDLMapper> MakeMapper(const SSchemaFiles& files, std::string& failure) {
    CXSDDocument schema;
    CXSLTDocument stylesheet;
    if (!LoadDocument(schema, files.schema, kSchemaResource)) {
        failure = schema.GetLastErrorText();
        return nullptr;
    }
    if (!LoadDocument(stylesheet, files.stylesheet, kStylesheetResource)) {
        failure = stylesheet.GetLastErrorText();
        return nullptr;
    }
    return std::make_shared<CXsdToDDLMapper>(false, schema.GetDocument(), stylesheet.GetDocument());
}

struct SNobody : IXmlElementSink {
    void StartElement(std::string_view, std::span<const SXmlAttribute>, long) override {}
    void EndElement(std::string_view) override {}
    void Characters(std::string_view) override {}
};

/// The reason of a schema that cannot be used; the check of no file at all fails otherwise.
std::string WhyNoSchema(const std::string& path) {
    SNobody nobody;
    CXmlXsdValidator validator(true);
    SXmlValidationResult result;
    _bstr_t message;
    validator.Validate(true, "", "", _bstr_t(Absolute(path).c_str()), message, nobody, result);
    if (result.total > 0) {
        return {};
    }
    // What stands before is about the component that failed.
    constexpr std::string_view kDescription = "Description: ";
    const std::string text = static_cast<const char*>(message);
    const std::size_t at = text.find(kDescription);
    return at == std::string::npos ? text : text.substr(at + kDescription.size());
}

/// The document that loads a stylesheet knows no lines; the check against a schema of nothing does.
std::string WhyNotWellFormed(const std::string& path) {
    constexpr char kNothing[] = R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"/>)";
    SNobody nobody;
    CXmlXsdValidator validator(true);
    SXmlValidationResult result;
    _bstr_t message;
    const std::string file = Absolute(path);
    validator.Validate(true, file.c_str(), file.c_str(), kNothing, message, nobody, result);
    if (result.wellFormed || result.issues.empty()) {
        return {};
    }
    const SXmlIssue& issue = result.issues.front();
    return "line " + std::to_string(issue.line) + ": " + issue.reason;
}

std::string WhyNoTransformation(CXsdToDDLMapper& mapper) {
    _bstr_t ddl;
    const IXMLDOMDocument2Ptr stylesheet = mapper.GetXsltDocument().GetDocument();
    const HRESULT code = mapper.GetXsdDocument().GetDocument()->transformNode(
        stylesheet.GetInterfacePtr(), ddl.GetAddress());
    return SUCCEEDED(code) ? std::string() : std::string(GetErrorDescription());
}

std::string MissingTable(CDBProcessor& processor) {
    for (const char* table : kNeededTables) {
        std::shared_ptr<IRecordset> rows;
        const std::string sql =
            std::string("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = '") + table +
            "'";
        if (!processor.DB_ExecuteQuery(sql.c_str(), rows) || !rows->MoveNext()) {
            return table;
        }
    }
    return {};
}

std::string WhyNoTables(const SSchemaFiles& files) {
    std::string failure =
        files.stylesheet.empty() ? std::string() : WhyNotWellFormed(files.stylesheet);
    if (!failure.empty()) {
        return failure;
    }
    const std::shared_ptr<CXsdToDDLMapper> mapper = MakeMapper(files, failure);
    if (mapper == nullptr) {
        return failure;
    }
    failure = WhyNoTransformation(*mapper);
    if (!failure.empty()) {
        return failure;
    }
    CDBProcessor processor(true, Normal, _bstr_t(), _bstr_t());
    processor.SetMapper(mapper);
    processor.InitializeInMemory();
    if (failure = processor.FindTableFault(); !failure.empty()) {
        return failure;
    }
    const std::string missing = MissingTable(processor);
    return missing.empty() ? std::string() : "it gives no table " + missing;
}

} // namespace

std::string CheckSchemaFiles(const SSchemaFiles& files) {
    if (files.schema.empty() && files.stylesheet.empty()) {
        return {};
    }
    for (const std::string& path : {files.schema, files.stylesheet}) {
        const std::string reason = path.empty() ? std::string() : WhyUnreadable(path);
        if (!reason.empty()) {
            std::string failure = "cannot read '";
            failure += path;
            failure += "': ";
            failure += reason;
            return failure;
        }
    }
    std::string reason = files.schema.empty() ? std::string() : WhyNoSchema(files.schema);
    if (!reason.empty()) {
        return "'" + files.schema + "' is no usable schema: " + reason;
    }
    reason = WhyNoTables(files);
    if (reason.empty()) {
        return {};
    }
    const bool both = !files.schema.empty() && !files.stylesheet.empty();
    return "'" + (files.stylesheet.empty() ? files.schema : files.stylesheet) +
           (both ? "' with '" + files.schema : std::string()) + "' cannot be used: " + reason;
}

std::shared_ptr<CDBProcessor> MakeProcessor(const SSchemaFiles& files, DBMode mode) {
    auto processor =
        std::make_shared<CDBProcessor>(true, mode, _bstr_t(Absolute(files.schema).c_str()),
                                       _bstr_t(Absolute(files.stylesheet).c_str()));
    if (!files.schema.empty() || !files.stylesheet.empty()) {
        std::string failure;
        if (const auto mapper = MakeMapper(files, failure)) {
            processor->SetMapper(mapper);
        }
    }
    return processor;
}

bool ReadSchemaBytes(const SSchemaFiles& files, std::string& bytes, std::string& reason) {
    if (!files.schema.empty()) {
        return ReadFile(files.schema, bytes, reason);
    }
    bytes = CXmlDbDocument::LoadInternalResource(kSchemaResource, nullptr);
    return true;
}

} // namespace LandscapeValidator
