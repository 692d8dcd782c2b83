// SPDX-License-Identifier: Apache-2.0
#include "bench_landscape.h"

#include <atomic>
#include <sstream>
#include <system_error>

namespace LandscapeValidator::Bench {

using namespace Nax::FrontEnd::XMLDB;

CBenchDatabase::CBenchDatabase() {
    static std::atomic<int> number{0};
    m_folder = std::filesystem::temp_directory_path() /
               ("landscape-bench-" + std::to_string(reinterpret_cast<std::uintptr_t>(&number)) +
                "-" + std::to_string(++number));
    std::filesystem::create_directories(m_folder);
    OverrideKnownFolder(KnownFolder::LocalAppData, m_folder.c_str());
    m_processor = std::make_shared<CDBProcessor>(true, Transactional, _bstr_t(), _bstr_t());
    m_processor->Process(createDB, std::wstringstream());
    m_processor->DB_ExecuteQuery("PRAGMA synchronous = OFF");
    m_tables = std::make_unique<CLandscapeTables>(*m_processor);
}

CBenchDatabase::~CBenchDatabase() {
    m_processor.reset();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

void CBenchDatabase::CommitExpecting(std::int64_t services, benchmark::State& state) {
    std::shared_ptr<IRecordset> rows;
    if (!m_processor->Process(Commit, std::wstringstream()) ||
        !m_processor->DB_ExecuteQuery("SELECT count(*) FROM Services", rows) || !rows->MoveNext() ||
        rows->GetInt(0) != services) {
        state.SkipWithError("the rows are not there");
    }
}

} // namespace LandscapeValidator::Bench
