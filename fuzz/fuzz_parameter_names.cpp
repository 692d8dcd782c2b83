// SPDX-License-Identifier: Apache-2.0
// ParseParameterNames over any text, and against SQLite's own reading of statements whose
// parameters stand between blanks, which is what callers write.
#include "fuzz_support.h"

#include "database/sqlite_database.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

namespace {

using namespace Nax::FrontEnd::XMLDB;
using Fuzzing::Require;

using Texts = std::vector<std::string>;

CSQLiteDatabase& Database() {
    static CSQLiteDatabase database;
    static const bool open = database.Open(":memory:", "", "");
    Require(open, "a database in memory can be opened");
    return database;
}

Texts NamesIn(const std::string& sql) {
    std::vector<CStringA> parsed = {"before"};
    Require(Database().ParseParameterNames(sql.c_str(), parsed), "names can be read from any text");
    Texts names;
    for (const CStringA& name : parsed) {
        names.emplace_back(name.GetString());
    }
    return names;
}

void CheckAnyText(const std::string& sql) {
    const Texts names = NamesIn(sql);
    const auto isPrefix = [](char c) { return c == '?' || c == ':' || c == '@' || c == '$'; };
    Require(
        names.size() <= static_cast<std::size_t>(std::count_if(sql.begin(), sql.end(), isPrefix)),
        "no more names than prefix characters", sql);
    for (const std::string& name : names) {
        Require(sql.find(name) != std::string::npos, "each name is a piece of the text", sql);
    }
}

/// A SELECT of parameters, texts and numbers made from `bytes`, and the parameters' names in order.
std::string MakeStatement(std::string_view bytes, Texts& names) {
    constexpr std::string_view kPrefixes = ":@$";
    constexpr std::string_view kQuoted[] = {"'a @b :c'", "\"main\".\"@x\"", "'it''s ? '",
                                            "'\"@q '"};
    std::string sql = "SELECT 1";
    for (std::size_t at = 0; at < bytes.size() && names.size() < 40; ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        sql += at % 2 == 0 ? " , " : "\n,\t";
        if (byte % 5 == 0) {
            sql += byte % 4 == 1 ? "'\"'" : std::string(kQuoted[byte % 4]);
            continue;
        }
        std::string name(2 + byte % 7, static_cast<char>('a' + byte % 26));
        sql += kPrefixes[byte % kPrefixes.size()] + name + ' ';
        names.push_back(std::move(name));
    }
    return sql + " ";
}

void CompareWithSqlite(std::string_view bytes) {
    Texts expected;
    const std::string sql = MakeStatement(bytes, expected);
    sqlite3_stmt* prepared = nullptr;
    const int code =
        sqlite3_prepare_v2(Database().GetHandle(), sql.c_str(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(prepared,
                                                                          sqlite3_finalize);
    Require(code == SQLITE_OK, "the statement can be prepared", sql);
    std::set<std::string> known;
    for (int index = 1; index <= sqlite3_bind_parameter_count(prepared); ++index) {
        known.insert(sqlite3_bind_parameter_name(prepared, index) + 1);
    }
    const Texts names = NamesIn(sql);
    Require(names.size() == expected.size(), "as many names as SQLite sees", sql);
    for (std::size_t at = 0; at < names.size(); ++at) {
        // A name may run on behind the parameter, but begins with what SQLite calls it.
        Require(names[at].starts_with(expected[at]) && known.count(expected[at]) == 1,
                "the names are SQLite's", sql + '\n' + names[at]);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckAnyText(text.substr(0, text.find('\0')));
    CompareWithSqlite(std::string_view(text).substr(0, 64));
    return 0;
}
