// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/record_loader.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include "database/bound_insert_runner.h"
#include "database/record_insert.h"
#include "support/trace.h"
#include "support/within_memory.h"

#include <map>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kBeginGroup[] = "SAVEPOINT record_group";
constexpr char kKeepGroup[] = "RELEASE record_group";
constexpr char kDropGroup[] = "ROLLBACK TO record_group";
// Short enough to need no memory: the commit must not pass over a record that is missing.
constexpr char kSomeRecord[] = "a record";

/// The statement that would insert the record, for the error text.
std::string MakeStatement(const std::string& prefix, std::size_t columns,
                          std::span<const SRecordValue> values, const TextProcessor& texts) {
    std::vector<std::string> literals(columns, "NULL");
    for (const SRecordValue& value : values) {
        literals.at(value.column) = "'" + texts.EscapeSql(std::string(value.text)) + "'";
    }
    std::string sql = prefix + "(";
    for (std::size_t column = 0; column < columns; ++column) {
        sql.append(column == 0 ? "" : ",").append(literals[column]);
    }
    return sql + ")";
}

} // namespace

struct CRecordLoader::STables {
    struct STable {
        std::string prefix;
        std::size_t columns;
        std::unique_ptr<IRecordInsert> insert; ///< null when it cannot be prepared
    };
    IBoundInsertRunner* runner = nullptr;
    std::vector<STable> tables;
    std::map<std::string, std::size_t> byName;
};

CRecordLoader::CRecordLoader(CDBProcessor& processor)
    : m_processor(processor), m_tables(std::make_unique<STables>()) {}

CRecordLoader::~CRecordLoader() = default;

bool CRecordLoader::Begin() try {
    auto* runner = dynamic_cast<IBoundInsertRunner*>(m_processor.m_database.get());
    if (runner == nullptr || TraceDetail::IsOn(static_cast<int>(TraceKind::Plain)) ||
        !m_processor.BeginDirectLoad()) {
        return false;
    }
    m_tables->runner = runner;
    return true;
} catch (...) {
    return FailWithoutMemory();
}

std::size_t CRecordLoader::FindTable(const std::string& element) try {
    const auto known = m_tables->byName.find(element);
    if (known != m_tables->byName.end()) {
        return known->second;
    }
    if (m_tables->runner == nullptr || m_processor.m_mapper == nullptr) {
        return kNone;
    }
    const CQueryBuilder& queryBuilder = m_processor.m_mapper->GetQueryBuilder();
    const auto columns = queryBuilder.GetTables().find(element);
    if (columns == queryBuilder.GetTables().end()) {
        return kNone;
    }
    STables::STable table{queryBuilder.FormatInsertPrefix(element), columns->second.size(),
                          nullptr};
    std::string sql = table.prefix + "(";
    for (std::size_t column = 0; column < table.columns; ++column) {
        sql += column == 0 ? "?" : ",?";
    }
    table.insert = m_tables->runner->PrepareRecordInsert(sql + ")");
    m_tables->tables.push_back(std::move(table));
    return m_tables->byName[element] = m_tables->tables.size() - 1;
} catch (...) {
    FailWithoutMemory();
    m_processor.m_failedRecord = kSomeRecord;
    return kNone;
}

void CRecordLoader::Add(std::size_t table, std::span<const SRecordValue> values) {
    if (!m_processor.m_failedRecord.empty()) {
        return;
    }
    const STables::STable& target = m_tables->tables.at(table);
    const bool inserted =
        WithinMemory([&] { return target.insert != nullptr && target.insert->Run(values); });
    if (!inserted && !WithinMemory([&] {
            m_processor.FailDirectLoad(MakeStatement(target.prefix, target.columns, values,
                                                     m_processor.getTextProcessorRef()));
            return true;
        })) {
        m_processor.m_failedRecord = kSomeRecord;
    }
}

void CRecordLoader::BeginGroup() try {
    m_failureBefore = m_processor.m_failedRecord;
    if (m_failureBefore.empty() && !m_processor.m_database->Execute(kBeginGroup)) {
        m_processor.FailDirectLoad(kBeginGroup);
    }
} catch (...) {
    FailWithoutMemory();
    m_failureBefore = kSomeRecord;
    m_processor.m_failedRecord = kSomeRecord;
}

void CRecordLoader::EndGroup(bool keep) try {
    if (!m_failureBefore.empty()) {
        return;
    }
    IDatabase& database = *m_processor.m_database;
    if (!keep && database.Execute(kDropGroup)) {
        // What failed is not there any more.
        m_processor.m_failedRecord.clear();
    } else if (!keep && m_processor.m_failedRecord.empty()) {
        m_processor.FailDirectLoad(kDropGroup);
    }
    if (!database.Execute(kKeepGroup) && m_processor.m_failedRecord.empty()) {
        m_processor.FailDirectLoad(kKeepGroup);
    }
} catch (...) {
    FailWithoutMemory();
    m_processor.m_failedRecord = kSomeRecord;
}

void CRecordLoader::End() {
    *m_tables = STables();
}

} // namespace Nax::FrontEnd::XMLDB
