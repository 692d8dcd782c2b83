// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>
#include <string>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;
class CExportRule;
class CStatementGuard;

/// Turns the rows of a statement into one JSON array of objects, inside the database, and hands it
/// to a file or to its rule, as the rule's run context says.
///
/// Refers to its rule, which outlives it. Exporters of one process take turns at the database: the
/// connection has one error message for all threads, and a failing statement's own is traced with
/// it. Failures are traced and reported as false.
class CJsonExporter {
public:
    /// With `sourceIsName` the statements are names of tables or views.
    CJsonExporter(const std::shared_ptr<CDBProcessor>& processor, CExportRule& rule,
                  bool sourceIsName = false);

    /// False when the rows could not be had or the text could not be written; nothing is kept
    /// then. With a view name the statement becomes a view as well, whatever the result.
    bool Export(const std::string& statement, const std::string& fileName,
                const std::string& viewName);

private:
    bool ReadColumnList(const std::string& source, std::string& list);
    bool ReadGuarded(const std::string& source, std::string& json);
    /// Why it failed; empty when it did not.
    std::string ReadGuardedRows(CStatementGuard& guard, const std::string& source,
                                std::string& json);
    bool ReadJson(const std::string& source, std::string& json);
    bool Deliver(std::string json, const std::string& fileName);

    static std::mutex s_databaseTurn;

    std::shared_ptr<CDBProcessor> m_processor;
    CExportRule& m_rule;
    bool m_sourceIsName;
};

} // namespace Nax::FrontEnd::XMLDB
