// SPDX-License-Identifier: Apache-2.0
#include "database/guarded_functions.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <sqlite3.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::int64_t kMostRepeats = 50'000;
constexpr std::int64_t kTooMany = kMostRepeats + 1;
// Bytes of the text times bytes of the set: a part of a second.
constexpr std::int64_t kMostComparisons = 50'000'000;

/// The largest of the numbers that a precision may come from; a negative one counts as positive.
std::int64_t LargestNumber(int count, sqlite3_value** values) {
    std::int64_t largest = 0;
    for (int index = 1; index < count; ++index) {
        const std::int64_t number = sqlite3_value_int64(values[index]);
        largest = std::max(largest, number < -kMostRepeats ? kTooMany : std::abs(number));
    }
    return std::min(largest, kTooMany);
}

/// How often the call may repeat characters at most: the sum of all precisions. Widths cost
/// nothing, since they are refused at once when they are too large.
std::int64_t CountRepeats(std::string_view format, int count, sqlite3_value** values) {
    std::int64_t repeats = 0;
    for (std::size_t at = format.find('.'); at < format.size() && repeats < kTooMany;
         at = format.find('.', at + 1)) {
        std::int64_t precision = 0;
        for (std::size_t digit = at + 1;
             digit < format.size() && format[digit] >= '0' && format[digit] <= '9'; ++digit) {
            precision = std::min(precision * 10 + (format[digit] - '0'), kTooMany);
        }
        const bool byArgument = at + 1 < format.size() && format[at + 1] == '*';
        repeats += byArgument ? LargestNumber(count, values) : precision;
    }
    return repeats;
}

/// Whether a call of printf would repeat characters for too long.
bool RepeatsTooMuch(int count, sqlite3_value** values) {
    const auto* format = count > 0 ? sqlite3_value_text(values[0]) : nullptr;
    const char* text = format == nullptr ? "" : reinterpret_cast<const char*>(format);
    return CountRepeats(text, count, values) > kMostRepeats;
}

/// Whether a call of trim would compare too many characters with too many others.
bool TrimsTooMuch(int count, sqlite3_value** values) {
    std::int64_t comparisons = 1;
    for (int index = 0; index < count; ++index) {
        comparisons *= sqlite3_value_bytes(values[index]);
    }
    return comparisons > kMostComparisons;
}

struct SGuarded {
    const char* name;
    int arguments;
    bool (*isTooMuch)(int count, sqlite3_value** values);
};

constexpr SGuarded kGuarded[] = {{"printf", -1, RepeatsTooMuch},
                                 {"format", -1, RepeatsTooMuch},
                                 {"trim", 2, TrimsTooMuch},
                                 {"ltrim", 2, TrimsTooMuch},
                                 {"rtrim", 2, TrimsTooMuch}};

struct SCloser {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// SQLite's own function, which only a connection without ours can call.
class COriginal {
public:
    explicit COriginal(const SGuarded& function) : m_function(function) {}

    void Call(sqlite3_context* context, int count, sqlite3_value** values) {
        if (m_function.isTooMuch(count, values)) {
            sqlite3_result_error_toobig(context);
            return;
        }
        sqlite3_stmt* const statement = StatementFor(count);
        if (statement == nullptr) {
            sqlite3_result_error_nomem(context);
            return;
        }
        const int length =
            sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LENGTH, -1);
        sqlite3_limit(m_connection.get(), SQLITE_LIMIT_LENGTH, length);
        for (int index = 0; index < count; ++index) {
            sqlite3_bind_value(statement, index + 1, values[index]);
        }
        const int code = sqlite3_step(statement);
        if (code == SQLITE_ROW) {
            sqlite3_result_value(context, sqlite3_column_value(statement, 0));
        } else {
            sqlite3_result_error_code(context, code);
        }
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }

private:
    sqlite3_stmt* StatementFor(int count) {
        if (m_connection == nullptr) {
            sqlite3* opened = nullptr;
            const int code = sqlite3_open(":memory:", &opened);
            m_connection.reset(opened);
            if (code != SQLITE_OK) {
                m_connection.reset();
                return nullptr;
            }
        }
        std::unique_ptr<sqlite3_stmt, SCloser>& statement = m_statements[count];
        if (statement == nullptr) {
            std::string sql = std::string("SELECT ") + m_function.name + "(";
            for (int index = 0; index < count; ++index) {
                sql += index == 0 ? "?" : ",?";
            }
            sqlite3_stmt* prepared = nullptr;
            sqlite3_prepare_v2(m_connection.get(), (sql + ")").c_str(), -1, &prepared, nullptr);
            statement.reset(prepared);
        }
        return statement.get();
    }

    const SGuarded& m_function;
    std::unique_ptr<sqlite3, SCloser> m_connection;
    std::map<int, std::unique_ptr<sqlite3_stmt, SCloser>> m_statements; ///< by their arguments
};

void Call(sqlite3_context* context, int count, sqlite3_value** values) {
    try {
        static_cast<COriginal*>(sqlite3_user_data(context))->Call(context, count, values);
    } catch (const std::exception&) {
        sqlite3_result_error_nomem(context);
    }
}

void Delete(void* function) {
    const std::unique_ptr<COriginal> deleted(static_cast<COriginal*>(function));
}

} // namespace

bool GuardFunctions(sqlite3* connection) {
    for (const SGuarded& function : kGuarded) {
        // SQLite deletes it, also when it does not take it.
        const int code = sqlite3_create_function_v2(
            connection, function.name, function.arguments,
            SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
            std::make_unique<COriginal>(function).release(), Call, nullptr, nullptr, Delete);
        if (code != SQLITE_OK) {
            return false;
        }
    }
    return true;
}

} // namespace Nax::FrontEnd::XMLDB
