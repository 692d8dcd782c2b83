// SPDX-License-Identifier: Apache-2.0
// What follows the rules: result codes, exports, the page, dropping the bulky columns.
#include "bench_landscape.h"

#include <benchmark/benchmark.h>

#include <sstream>

namespace LandscapeValidator::Bench {
namespace {

using namespace Nax::FrontEnd::XMLDB;

void Fill(CDBProcessor& processor, std::int64_t findings) {
    const std::string count = std::to_string(findings);
    processor.DB_ExecuteQuery(
        ("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 999) "
         "INSERT INTO Files (uri, indx) SELECT 'file' || i || '.xml', i FROM n;"
         "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
         count +
         ") INSERT INTO ValidationResults (RuleId, Name, Type, Msg, Body, ResultDescription, "
         "ResultId, UUID, file_id) SELECT i % 33, 'Name of a rule', 'Warning', 'message', "
         "printf('%.*c', 500, 'x'), 'The UUID ' || i || ' has been employed redundantly', '5', "
         "'uuid' || i, i % 1000 FROM n")
            .c_str());
}

void PostProcess(benchmark::State& state) {
    for ([[maybe_unused]] const auto _ : state) {
        state.PauseTiming();
        {
            CBenchDatabase database;
            CDBProcessor& processor = database.GetProcessor();
            processor.Process(Commit, std::wstringstream());
            processor.Process(CreateResultIdTable, std::wstringstream());
            processor.Process(CreateRulesTable, std::wstringstream());
            CRulesProcessor rules(database.Share(), _bstr_t());
            rules.LoadRules(_bstr_t());
            Fill(processor, state.range(0));
            CRulesProcessor::StartNewReport();
            state.ResumeTiming();
            if (!rules.PostProcess(_bstr_t(), _bstr_t(database.GetFolder().c_str()), 1, 0, 0,
                                   _bstr_t())) {
                state.SkipWithError("the export failed");
            }
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(PostProcess)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace LandscapeValidator::Bench
