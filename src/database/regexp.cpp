// SPDX-License-Identifier: Apache-2.0
#include "naxfewxmldb/regexp.h"

#include <sqlite3.h>

#include <string_view>
#include <utility>

#include "regexp_compiler.h"
#include "regexp_cost.h"
#include "regexp_matcher.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

/// UTF-8, deterministic and innocuous (0x200801).
constexpr int FUNCTION_FLAGS = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
static_assert(FUNCTION_FLAGS == 0x200801);

void FreeProgram(void* program) {
    SRegexpDeleter()(static_cast<SRegexpProgram*>(program));
}

/// The text with its NUL characters; the data are null for NULL. The length is only known after the
/// conversion to UTF-8, so the order of the calls matters.
std::string_view TextOf(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (text == nullptr) {
        return {};
    }
    return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

/// Leaves the result NULL for a NULL value, but not for a text that could not be converted.
void ReportMissingText(sqlite3_context* context, sqlite3_value* value) {
    if (sqlite3_value_type(value) != SQLITE_NULL) {
        sqlite3_result_error_nomem(context);
    }
}

RegexpPtr<SRegexpProgram> CompileArgument(sqlite3_context* context, sqlite3_value* argument) {
    const std::string_view pattern = TextOf(argument);
    if (pattern.data() == nullptr) {
        ReportMissingText(context, argument);
        return nullptr;
    }
    const bool foldCase = sqlite3_user_data(context) != nullptr;
    SRegexpCompilation compilation = CompileRegexp(pattern, foldCase);
    if (compilation.error != nullptr) {
        sqlite3_result_error(context, compilation.error, -1);
    } else if (compilation.program == nullptr) {
        sqlite3_result_error_nomem(context);
    }
    return std::move(compilation.program);
}

void ReportMatch(sqlite3_context* context, const SRegexpProgram& program, sqlite3_value* argument) {
    const std::string_view subject = TextOf(argument);
    if (subject.data() == nullptr) {
        ReportMissingText(context, argument);
    } else if (!CRegexpCostLimit::Allows(program.Size(), subject.size())) {
        sqlite3_result_error(context, "regexp: pattern and text are too large together", -1);
    } else {
        sqlite3_result_int(context, MatchRegexp(program, subject));
    }
}

/// regexp(pattern, subject). A pattern that is constant within the statement is compiled once.
void RegexpFunction(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) {
    auto* cached = static_cast<SRegexpProgram*>(sqlite3_get_auxdata(context, 0));
    if (cached != nullptr) {
        PrepareForManySubjects(*cached);
        ReportMatch(context, *cached, arguments[1]);
        return;
    }
    RegexpPtr<SRegexpProgram> program = CompileArgument(context, arguments[0]);
    if (program != nullptr) {
        ReportMatch(context, *program, arguments[1]);
        // SQLite may free the program before this returns, so it comes last.
        sqlite3_set_auxdata(context, 0, program.release(), FreeProgram);
    }
}

int Register(sqlite3* db, const char* name, void* userData) {
    return sqlite3_create_function(db, name, 2, FUNCTION_FLAGS, userData, RegexpFunction, nullptr,
                                   nullptr);
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB

extern "C" int sqlite3_regexp_init(sqlite3* db) {
    using Nax::FrontEnd::XMLDB::Register;
    const int result = Register(db, "regexp", nullptr);
    // Any user data that is not null asks for folding.
    return result != SQLITE_OK ? result : Register(db, "regexpi", db);
}
