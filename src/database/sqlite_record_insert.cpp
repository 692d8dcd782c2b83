// SPDX-License-Identifier: Apache-2.0
#include "database/sqlite_record_insert.h"

#include "database/storage_failures.h"

#include <cstddef>

#include "database/sqlite_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

/// Widens `text` to `wide`, which has room for it. False when it is not ASCII.
bool WidenAscii(std::string_view text, char16_t* wide) {
    unsigned int seen = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        seen |= byte;
        wide[at] = static_cast<char16_t>(byte);
    }
    return seen < 0x80;
}

} // namespace

void CSQLiteRecordInsert::SFinalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

CSQLiteRecordInsert::CSQLiteRecordInsert(sqlite3_stmt* statement) : m_statement(statement) {}

std::unique_ptr<IRecordInsert> CSQLiteRecordInsert::Prepare(sqlite3* connection,
                                                            const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (Noted(sqlite3_prepare_v3(connection, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement,
                                 nullptr)) != SQLITE_OK) {
        return nullptr;
    }
    return std::unique_ptr<IRecordInsert>(new CSQLiteRecordInsert(statement));
}

bool CSQLiteRecordInsert::Run(std::span<const SRecordValue> values) {
    const bool done = Bind(values) && Noted(sqlite3_step(m_statement.get())) == SQLITE_DONE;
    if (!done) {
        CStorageFailures::Note(sqlite3_db_handle(m_statement.get()));
    }
    sqlite3_reset(m_statement.get());
    return done;
}

bool CSQLiteRecordInsert::Bind(std::span<const SRecordValue> values) {
    std::size_t needed = 0;
    for (const SRecordValue& value : values) {
        needed += value.text.size();
    }
    // Never smaller, and grown before the first parameter points into it.
    if (m_wide.size() < needed + 1) {
        m_wide.resize(needed + 1);
    }
    sqlite3_clear_bindings(m_statement.get());
    char16_t* wide = m_wide.data();
    for (const SRecordValue& value : values) {
        const int parameter = static_cast<int>(value.column) + 1;
        const std::size_t length = value.text.size();
        // Static: texts and buffer outlive the step, and the next row binds anew.
        const int result =
            WidenAscii(value.text, wide)
                ? sqlite3_bind_text64(m_statement.get(), parameter,
                                      reinterpret_cast<const char*>(wide),
                                      length * sizeof(char16_t), SQLITE_STATIC, SQLITE_UTF16)
                : sqlite3_bind_text64(m_statement.get(), parameter, value.text.data(), length,
                                      SQLITE_STATIC, SQLITE_UTF8);
        if (Noted(result) != SQLITE_OK) {
            return false;
        }
        wide += length;
    }
    return true;
}

} // namespace Nax::FrontEnd::XMLDB
