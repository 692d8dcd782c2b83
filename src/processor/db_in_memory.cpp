// SPDX-License-Identifier: Apache-2.0
// The processor without a database file, and with a schema of the host's.
#include <naxfewxmldb/db_processor.h>

#include "processor/error_blocks.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kInMemory[] = ":memory:";

} // namespace

bool CDBProcessor::InitializeInMemory() {
    if (m_database == nullptr || !m_database->Open(kInMemory, "", "")) {
        return Error(kInitializeError, "Failed to open database");
    }
    // As the file has it: lengths and comparisons are then the same.
    m_database->Execute("PRAGMA encoding = 'UTF-16'");
    if (!DB_Create_Scheme() || !DB_Commit()) {
        return false;
    }
    bool created = true;
    for (const DBOperations operation :
         {CreateResultIdTable, CreateResultsTable, CreateRulesTable}) {
        created = Process(operation, std::wstringstream()) && created;
    }
    return created;
}

void CDBProcessor::SetMapper(const std::shared_ptr<CXsdToDDLMapper>& mapper) {
    m_mapper = mapper;
}

} // namespace Nax::FrontEnd::XMLDB
