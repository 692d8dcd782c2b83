// SPDX-License-Identifier: Apache-2.0
#include "tool/database_reader.h"

#include <memory>
#include <stdexcept>

#include <sqlite3.h>

namespace LandscapeValidator::Testing {

Rows ReadRows(const std::string& databasePath, const std::string& sql) {
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(databasePath.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(opened, sqlite3_close);
    sqlite3_stmt* prepared = nullptr;
    if (result != SQLITE_OK ||
        sqlite3_prepare_v2(opened, sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(opened));
    }
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(prepared,
                                                                               sqlite3_finalize);
    Rows rows;
    while (sqlite3_step(prepared) == SQLITE_ROW) {
        auto& row = rows.emplace_back();
        for (int column = 0; column < sqlite3_column_count(prepared); ++column) {
            const unsigned char* text = sqlite3_column_text(prepared, column);
            const auto length = static_cast<std::size_t>(sqlite3_column_bytes(prepared, column));
            row.push_back(text == nullptr ? std::nullopt
                                          : std::optional(std::string(
                                                reinterpret_cast<const char*>(text), length)));
        }
    }
    return rows;
}

} // namespace LandscapeValidator::Testing
