// SPDX-License-Identifier: Apache-2.0
// The SQL function regexp beside RE2's partial match as an SQL function, over the same rows.
#include "landscape_plan.h"
#include "split_mix.h"

#include <naxfewxmldb/regexp.h>

#include <benchmark/benchmark.h>
#include <re2/re2.h>
#include <sqlite3.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace Nax::FrontEnd::XMLDB::Bench {
namespace {

constexpr char kUuidPattern[] =
    "[a-fA-F0-9]{8}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{12}";

void Re2Function(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) {
    auto* pattern = static_cast<RE2*>(sqlite3_get_auxdata(context, 0));
    if (pattern == nullptr) {
        pattern = new RE2(reinterpret_cast<const char*>(sqlite3_value_text(arguments[0])));
        sqlite3_set_auxdata(context, 0, pattern, [](void* p) { delete static_cast<RE2*>(p); });
        pattern = static_cast<RE2*>(sqlite3_get_auxdata(context, 0));
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(arguments[1]));
    const auto length = static_cast<std::size_t>(sqlite3_value_bytes(arguments[1]));
    sqlite3_result_int(context,
                       RE2::PartialMatch(re2::StringPiece(text, length), *pattern) ? 1 : 0);
}

/// A database in memory, in the encoding of the product's.
class CValues {
public:
    CValues() {
        sqlite3* opened = nullptr;
        sqlite3_open(":memory:", &opened);
        m_connection.reset(opened);
        sqlite3_regexp_init(opened);
        sqlite3_create_function(opened, "re2match", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                Re2Function, nullptr, nullptr);
        Run("PRAGMA encoding = 'UTF-16'");
        Run("CREATE TABLE v (value TEXT)");
    }

    /// Uuids, of which one in a hundred is cut short.
    void AddUuids(std::int64_t count) {
        CSplitMix random(1);
        Run("BEGIN");
        sqlite3_stmt* insert = Prepare("INSERT INTO v VALUES (?)");
        for (std::int64_t row = 0; row < count; ++row) {
            const std::uint64_t high = random.Next();
            std::string uuid = FormatUuid(high, random.Next());
            uuid.resize(row % 100 == 0 ? 35 : uuid.size());
            Insert(insert, uuid);
        }
        sqlite3_finalize(insert);
        Run("COMMIT");
    }

    void AddText(const std::string& text) {
        sqlite3_stmt* insert = Prepare("INSERT INTO v VALUES (?)");
        Insert(insert, text);
        sqlite3_finalize(insert);
    }

    int Count(const char* function, const std::string& pattern) {
        sqlite3_stmt* query =
            Prepare(std::string("SELECT count(*) FROM v WHERE ") + function + "(?, value)");
        sqlite3_bind_text(query, 1, pattern.c_str(), -1, SQLITE_STATIC);
        const int count = sqlite3_step(query) == SQLITE_ROW ? sqlite3_column_int(query, 0) : -1;
        sqlite3_finalize(query);
        return count;
    }

private:
    struct SCloser {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };

    void Run(const char* sql) { sqlite3_exec(m_connection.get(), sql, nullptr, nullptr, nullptr); }

    sqlite3_stmt* Prepare(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(m_connection.get(), sql.c_str(), -1, &statement, nullptr) !=
            SQLITE_OK) {
            std::abort();
        }
        return statement;
    }

    static void Insert(sqlite3_stmt* insert, const std::string& text) {
        sqlite3_bind_text(insert, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }

    std::unique_ptr<sqlite3, SCloser> m_connection;
};

void UuidFormat(benchmark::State& state, const char* function) {
    CValues values;
    values.AddUuids(state.range(0));
    const auto expected = static_cast<int>(state.range(0) - (state.range(0) + 99) / 100);
    for ([[maybe_unused]] const auto _ : state) {
        if (values.Count(function, kUuidPattern) != expected) {
            state.SkipWithError("wrong number of matches");
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK_CAPTURE(UuidFormat, regexp, "regexp")->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(UuidFormat, re2, "re2match")->Arg(1'000'000)->Unit(benchmark::kMillisecond);

std::string Repeat(const std::string& text, std::size_t length) {
    std::string repeated;
    while (repeated.size() < length) {
        repeated += text;
    }
    repeated.resize(length);
    return repeated;
}

/// Patterns of 1,000 characters over subjects that keep as many states alive as can be.
void LongPattern(benchmark::State& state, const std::string& pattern) {
    CValues values;
    values.AddText(Repeat("a", static_cast<std::size_t>(state.range(0))));
    for ([[maybe_unused]] const auto _ : state) {
        if (values.Count("regexp", pattern) != 0) {
            state.SkipWithError("must not match");
        }
    }
    state.SetComplexityN(state.range(0));
}

void DoubledSubjects(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(2)->Range(1 << 11, 1 << 14)->Complexity(benchmark::oN);
    bench->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(LongPattern, optional, Repeat("a?", 998) + "bb")->Apply(DoubledSubjects);
BENCHMARK_CAPTURE(LongPattern, starred, Repeat("a*", 998) + "bb")->Apply(DoubledSubjects);
BENCHMARK_CAPTURE(LongPattern, nested,
                  Repeat("(", 300) + "a" + Repeat(")*", 600) + Repeat("a", 98) + "b")
    ->Apply(DoubledSubjects);
BENCHMARK_CAPTURE(LongPattern, alternatives, "(" + Repeat("a|", 994) + "a)*b")
    ->Apply(DoubledSubjects);
BENCHMARK_CAPTURE(LongPattern, counted, "(a{0,30}){0,30}" + Repeat("[ab]", 984) + "b")
    ->Apply(DoubledSubjects);

} // namespace
} // namespace Nax::FrontEnd::XMLDB::Bench
