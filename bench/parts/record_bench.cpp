// SPDX-License-Identifier: Apache-2.0
// Entries on their way into the database: taken off the parser, made into text, stored.
#include "bench_landscape.h"
#include "element_collector.h"
#include "record_text.h"

#include <benchmark/benchmark.h>

#include <array>

namespace LandscapeValidator::Bench {
namespace {

using namespace Nax::FrontEnd::XMLDB;

constexpr std::int64_t kRows = 10'000;

/// A service as most are.
constexpr std::array kAttributes = {
    SXmlAttribute{"type", "URL"},
    SXmlAttribute{"uuid", "8c1a2f0e-57b1-4d0a-9a43-0f6d1c2b3a49"},
    SXmlAttribute{"name", "Finance production, central"},
    SXmlAttribute{"systemid", "FIN"},
    SXmlAttribute{"msid", "1b9d6bcd-bbfd-4b2d-9b5d-ab8dfbbd4bed"},
    SXmlAttribute{"mode", "1"},
    SXmlAttribute{"server", "finance.example.com:3200"},
    SXmlAttribute{"sncname", "p:CN=FIN, O=Example"},
    SXmlAttribute{"sncop", "9"},
    SXmlAttribute{"description", "Bookings and reports of the central office"},
    SXmlAttribute{"client", "100"},
    SXmlAttribute{"language", "EN"},
};

void Collect(CElementCollector& collector, std::int64_t rows) {
    for (std::int64_t row = 0; row < rows; ++row) {
        collector.StartElement("Service", kAttributes, row + 1);
        collector.EndElement("Service");
    }
}

void CollectElements(benchmark::State& state) {
    const CBenchDatabase database;
    for ([[maybe_unused]] const auto _ : state) {
        CElementCollector collector(database.GetTables());
        Collect(collector, kRows);
        benchmark::DoNotOptimize(collector.GetRecords().GetCount());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kRows);
}
BENCHMARK(CollectElements)->Unit(benchmark::kMillisecond);

void MakeRecordTexts(benchmark::State& state) {
    const CBenchDatabase database;
    CElementCollector collector(database.GetTables());
    Collect(collector, kRows);
    for ([[maybe_unused]] const auto _ : state) {
        std::size_t length = 0;
        collector.GetRecords().ForEach([&](const CRecordBuffer::SRecord& record) {
            length += MakeRecordText(database.GetTables()[record.table], record.values, "0").size();
        });
        benchmark::DoNotOptimize(length);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kRows);
}
BENCHMARK(MakeRecordTexts)->Unit(benchmark::kMillisecond);

/// Each record as text through Process, queued and bound by the commit.
void StoreByQueue(benchmark::State& state) {
    for ([[maybe_unused]] const auto _ : state) {
        CBenchDatabase database;
        CElementCollector collector(database.GetTables());
        Collect(collector, kRows);
        std::wstringstream stream;
        collector.GetRecords().ForEach([&](const CRecordBuffer::SRecord& record) {
            const _bstr_t text(
                MakeRecordText(database.GetTables()[record.table], record.values, "0").c_str());
            stream.str(static_cast<const wchar_t*>(text));
            database.GetProcessor().Process(AddService, stream);
        });
        database.CommitExpecting(kRows, state);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kRows);
}
BENCHMARK(StoreByQueue)->Unit(benchmark::kMillisecond);

/// The same records inserted at once.
void StoreByLoader(benchmark::State& state) {
    for ([[maybe_unused]] const auto _ : state) {
        CBenchDatabase database;
        CRecordLoader loader(database.GetProcessor());
        loader.Begin();
        const std::size_t table = loader.FindTable("Service");
        std::vector<SRecordValue> values;
        CElementCollector collector(database.GetTables(), [&](const std::string& block) {
            CRecordBuffer::ForEachIn(block, [&](const CRecordBuffer::SPackedRecord& record) {
                values.clear();
                for (const CRecordBuffer::SValue& value : record.values) {
                    values.push_back({value.column, value.text});
                }
                loader.Add(table, values);
            });
        });
        Collect(collector, kRows);
        collector.Flush();
        loader.End();
        database.CommitExpecting(kRows, state);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kRows);
}
BENCHMARK(StoreByLoader)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace LandscapeValidator::Bench
