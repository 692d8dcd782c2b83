// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "landscape_tables.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

namespace LandscapeValidator::Bench {

/// A new landscape database in a folder of its own, which goes with it.
class CBenchDatabase {
public:
    CBenchDatabase();
    CBenchDatabase(const CBenchDatabase&) = delete;
    CBenchDatabase& operator=(const CBenchDatabase&) = delete;
    ~CBenchDatabase();

    Nax::FrontEnd::XMLDB::CDBProcessor& GetProcessor() { return *m_processor; }
    const std::shared_ptr<Nax::FrontEnd::XMLDB::CDBProcessor>& Share() { return m_processor; }
    const CLandscapeTables& GetTables() const { return *m_tables; }
    std::string GetFolder() const { return m_folder.string(); }

    /// Commits; the benchmark fails when that many services are not there.
    void CommitExpecting(std::int64_t services, benchmark::State& state);

private:
    std::filesystem::path m_folder;
    std::shared_ptr<Nax::FrontEnd::XMLDB::CDBProcessor> m_processor;
    std::unique_ptr<CLandscapeTables> m_tables;
};

} // namespace LandscapeValidator::Bench
