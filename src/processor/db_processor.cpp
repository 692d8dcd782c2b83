// SPDX-License-Identifier: Apache-2.0
// Lifecycle and accessors of the processor.
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/xml_xsd_validator.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>

#include <filesystem>
#include <system_error>

#include "database/sqlite_database.h"
#include "platform/files.h"
#include "platform/known_folders.h"
#include "processor/database_claim.h"
#include "processor/error_blocks.h"
#include "processor/operation_names.h"
#include "support/bstr_text.h"
#include "support/file_utils.h"
#include "support/trace.h"
#include "support/within_memory.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CDBProcessor";
constexpr char kDatabaseFile[] = "UILandscape.db";
constexpr char kClaimed[] =
    "Another thread of this process works on the database; one processor at a time can make it";

/// A connection to the file that a new database takes the name of; null without one. Its lock keeps
/// others, who have the earlier file open, from taking the new one's journal for theirs: they would
/// roll back to it and remove it.
std::shared_ptr<IDatabase> OpenEarlier(const std::string& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return nullptr;
    }
    auto earlier = std::make_shared<CSQLiteDatabase>();
    return earlier->Open(path.c_str(), "", "") ? earlier : nullptr;
}

} // namespace

std::string CDBProcessor::m_dbName;

CDBProcessor::CDBProcessor(bool useResources, DBMode mode, const _bstr_t& xsdFile,
                           const _bstr_t& xsltFile)
    : m_useResources(useResources),
      m_dataMapped(false),
      m_mode(mode),
      m_xsdFile(ToNarrow(xsdFile)),
      m_xsltFile(ToNarrow(xsltFile)),
      m_database(std::make_shared<CSQLiteDatabase>()),
      m_mapper(std::make_shared<CXsdToDDLMapper>(useResources, xsdFile, xsltFile)),
      m_validator(std::make_shared<CXmlXsdValidator>(true)),
      m_errorMutex(std::make_shared<std::recursive_mutex>()) {
    NAX_TRACE(kClass, "CDBProcessor created. Mode: '%s'\nxsdFile: %s\nxsltFile: %s\n",
              DBModeName(m_mode), m_xsdFile.c_str(), m_xsltFile.c_str());
}

CDBProcessor::~CDBProcessor() {
    WithinMemory([this] {
        UnInitialize();
        return true;
    });
}

bool CDBProcessor::Initialize(bool backup) {
    const std::string path = JoinPath(GetKnownFolder(CSIDL_LOCAL_APPDATA), kDatabaseFile);
    if (!CDatabaseClaim::OfProcess().Enter(m_database.get(), backup, path, m_dbName)) {
        return Error(kInitializeError, kClaimed);
    }
    NAX_TRACE(kClass, "Database file name: %s\n", path.c_str());
    if (backup) {
        LetGoOfEarlier();
        m_earlier = OpenEarlier(path);
        DB_CreateBackup(path, true);
        if (m_earlier != nullptr) {
            m_earlier->Execute("BEGIN IMMEDIATE");
        }
    }
    const bool connected = m_database != nullptr && m_database->Open(path.c_str(), "", "");
    NAX_TRACE(kClass, "Connect: %d\n", static_cast<int>(connected));
    if (!connected) {
        return Error(kInitializeError, "Failed to open database");
    }
    const bool switched = m_database->Execute("PRAGMA encoding = 'UTF-16'");
    NAX_TRACE(kClass, "Switching database encoding to UTF-16 - %s\n", switched ? "OK" : "Failed");
    return true;
}

void CDBProcessor::LetGoOfEarlier() {
    if (m_earlier != nullptr) {
        m_earlier->Close();
        m_earlier.reset();
    }
}

void CDBProcessor::UnInitialize() {
    if (m_database != nullptr) {
        if (m_database->IsTransactionStarted()) {
            m_database->Commit();
        }
        m_database->Close();
        LetGoOfEarlier();
        CDatabaseClaim::OfProcess().Leave(m_database.get());
        m_database.reset();
    }
    m_mapper.reset();
    m_validator.reset();
}

std::shared_ptr<IDatabase> CDBProcessor::GetDatabase() const {
    return m_database;
}

std::string CDBProcessor::GetDatabaseFileName() const {
    return CDatabaseClaim::OfProcess().Read(m_dbName);
}

_bstr_t CDBProcessor::GetFile(const _bstr_t& fileName) {
    return {Utils::CFUtils::FromFile(ToNarrow(fileName)).c_str()};
}

std::string CDBProcessor::GetLastDBError() const {
    const std::lock_guard lock(*m_errorMutex);
    return m_lastDBError;
}

std::string CDBProcessor::GetStorageFailure() const {
    auto* database = dynamic_cast<IBoundInsertRunner*>(m_database.get());
    return database == nullptr ? std::string() : database->GetStorageFailure();
}

std::shared_ptr<CXsdToDDLMapper> CDBProcessor::GetMapper() const {
    return m_mapper;
}

DBMode CDBProcessor::GetMode() const {
    return m_mode;
}

bool CDBProcessor::GetUseResources() const {
    return m_useResources;
}

std::shared_ptr<CXmlXsdValidator> CDBProcessor::GetValidator() const {
    return m_validator;
}

const _bstr_t CDBProcessor::GetXsd() const {
    _bstr_t text(L"");
    if (m_mapper != nullptr) {
        if (const IXMLDOMDocument2Ptr document = m_mapper->GetXsdDocument().GetDocument()) {
            document->get_xml(text.GetAddress());
        }
    }
    return text;
}

// One body for both names: hosts get the schema from either.
const _bstr_t CDBProcessor::GetXslt() const {
    return GetXsd();
}

std::string CDBProcessor::GetXsdFile() const {
    return m_xsdFile;
}

std::string CDBProcessor::GetXsltFile() const {
    return m_xsltFile;
}

TextProcessor CDBProcessor::getTextProcessor() const {
    return m_textProcessor;
}

const TextProcessor& CDBProcessor::getTextProcessorRef() const {
    return m_textProcessor;
}

} // namespace Nax::FrontEnd::XMLDB
