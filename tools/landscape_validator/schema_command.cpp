// SPDX-License-Identifier: Apache-2.0
#include "schema_command.h"

#include "command_line.h"
#include "configuration.h"
#include "printable.h"
#include "schema_files.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr char kSchemaExamples[] = R"(
Examples:
  landscape-validator schema print > landscape.xsd
  landscape-validator schema ddl | sqlite3 empty.db
)";

constexpr char kTables[] =
    "SELECT sql FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite!_%' ESCAPE '!' "
    "ORDER BY name";

bool Check(const SSchemaFiles& files, std::ostream& err) {
    const std::string failure = CheckSchemaFiles(files);
    if (!failure.empty()) {
        err << kMessageStart << PrintableLines(failure) << '\n';
    }
    return failure.empty();
}

} // namespace

ExitCode PrintSchema(const SSchemaFiles& files, std::ostream& out, std::ostream& err) {
    if (!Check(files, err)) {
        return ExitCode::Failure;
    }
    std::string bytes;
    std::string reason;
    if (!ReadSchemaBytes(files, bytes, reason)) {
        err << kMessageStart << PrintableLines("cannot read '" + files.schema + "': " + reason)
            << '\n';
        return ExitCode::Failure;
    }
    return PrintResult(bytes, out, err) ? ExitCode::Clean : ExitCode::Failure;
}

ExitCode PrintTables(const SSchemaFiles& files, std::ostream& out, std::ostream& err) {
    if (!Check(files, err)) {
        return ExitCode::Failure;
    }
    const std::shared_ptr<CDBProcessor> processor = MakeProcessor(files, Normal);
    std::shared_ptr<IRecordset> rows;
    if (!processor->InitializeInMemory() || !CRulesProcessor(processor, _bstr_t()).Initialize() ||
        !processor->DB_ExecuteQuery(kTables, rows)) {
        err << kMessageStart << "the tables cannot be made:" << processor->GetLastDBError() << '\n';
        return ExitCode::Failure;
    }
    std::string tables;
    while (rows->MoveNext()) {
        tables.append(rows->GetString(0).GetString()).append(";\n\n");
    }
    return PrintResult(tables, out, err) ? ExitCode::Clean : ExitCode::Failure;
}

void AddSchemaCommand(CLI::App& app, Command& chosen) {
    CLI::App& command =
        *app.add_subcommand("schema", "Show the landscape schema and the tables made from it");
    command.require_subcommand(1);
    command.footer(kSchemaExamples);
    const auto files = std::make_shared<SSchemaFiles>();
    const auto configuration = std::make_shared<SConfigurationOptions>();
    const auto add = [&](const char* name, const char* description, auto run) {
        CLI::App& sub = *command.add_subcommand(name, description);
        AddSchemaOptions(sub, *files);
        CConfiguration::AddOptions(sub, *configuration);
        sub.footer(kSchemaExamples);
        sub.callback([files, configuration, &sub, &chosen, run] {
            chosen = Configured(sub, *configuration, [&]() -> Command {
                return [options = *files, run](std::ostream& out, std::ostream& err) {
                    return run(options, out, err);
                };
            });
        });
    };
    add("print", "Print the XML schema that landscape files are validated against", PrintSchema);
    add("ddl", "Print the SQL of the tables that rules read", PrintTables);
}

} // namespace LandscapeValidator
