// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/database.h>
#include <naxfewxmldb/export.h>
#include <naxfewxmldb/link_table_properties.h>
#include <naxfewxmldb/result_codes.h>
#include <naxfewxmldb/statement_queue.h>
#include <naxfewxmldb/text_processor.h>
#include <naxfewxmldb/text_types.h>

#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

class CXmlXsdValidator;
class CXsdToDDLMapper;
class IBoundInsertRunner;

/// How record and schema statements reach the database.
enum DBMode : int {
    Normal = 0,        ///< at once
    Transactional = 1, ///< queued, and run in one transaction by the commit operation
};

/// Operations of CDBProcessor::Process. The numbers and the spellings are part of the interface.
enum DBOperations : int {
    createDB = 0,
    openDB = 1,
    AddWorkspace = 2,
    AddMessageServer = 3,
    AddRouter = 4,
    AddWebDispatcher = 5,
    AddNode = 6,
    AddLDAP = 7,
    AddService = 8,
    AddParameter = 9,
    AddItem = 10,
    AddServerConfigurationFile = 11,
    AddLinkTable = 12,
    AddLinkTalbeRecord = 13,
    Commit = 14,
    CreateResultsTable = 15,
    CreateRulesTable = 16,
    CreateResultIdTable = 17,
};

/// The landscape database: creates its tables from the schema, takes the landscape's records and
/// runs every statement of the library.
///
/// Ownership: holds the connection, the schema mapper and the validator by shared ownership;
/// copies of a processor share all three and have their own texts, prefixes and queue.
///
/// Threads: one at a time, except that both DB_ExecuteQuery forms, GetLastDBError and the other
/// getters may be called from several threads.
///
/// All processors of a process use one database file, and one of them makes it at a time. From
/// `createDB` until its connection is closed (by UnInitialize, which the end of any copy calls) or
/// the thread that called it has ended, `createDB` of a processor on another thread is refused, and
/// so is `openDB` there when it would mean another file: both return false and GetLastDBError says
/// so. Processors on one thread, one after the other, are never refused. On other threads, in
/// Normal mode, processors may be made and closed at any time, open the same file to read it, and
/// use databases in memory. Transactions of two processors at the same time are not supported.
/// Where connections share a file, each wants "PRAGMA busy_timeout": without it a statement that
/// meets another connection's fails at once, with "database is locked".
///
/// Failure: every operation returns false, and GetLastDBError holds the block that says what
/// failed, where and why. A failing statement does not stop the statements after it, except in
/// the queue of a transactional commit. Nothing throws across this boundary except for want of
/// memory in the constructor.
class NAXFEWXMLDB_EXPORT CDBProcessor {
public:
    /// Null names give empty names. With `useResources` schema and stylesheet are the built-in
    /// ones and the names are only kept.
    CDBProcessor(bool useResources, DBMode mode, const _bstr_t& xsdFile, const _bstr_t& xsltFile);
    CDBProcessor(const CDBProcessor&) = default;
    CDBProcessor& operator=(const CDBProcessor&) = default;
    /// Commits a transaction that is still open, and closes the connection.
    virtual ~CDBProcessor();

    /// Opens `UILandscape.db` in the user's local application-data folder. With `backup` an
    /// existing file is first moved to a dated copy beside it.
    bool Initialize(bool backup);
    /// Opens a database in memory instead, with all tables as they are after a commit and before
    /// the rules run, but without data: for checks that need the tables only. Nothing is written.
    bool InitializeInMemory();
    /// Takes schema and stylesheet from `mapper` from now on; not to be empty. To be called before
    /// the tables are made. What else is built in stays.
    void SetMapper(const std::shared_ptr<CXsdToDDLMapper>& mapper);
    /// Why the tables that the mapper has made of its schema cannot be made in a database or take
    /// records, and which; empty when they can. To be called after they were to be made. What a
    /// definition does beside making a table (another statement, a query, a function) is a fault
    /// with which no table is made at all.
    std::string FindTableFault() const;
    /// Closes the connection and lets go of the shared objects. The object cannot be initialised
    /// again.
    void UnInitialize();

    /// Operations 0 to 11 and 14 to 17. For a record operation `data` is the record text: one
    /// framing character, then for each column of its table, in order, the marker "f_", the
    /// column's name and ":", an SQL literal and a comma. A column that is left out gets an empty
    /// text at the front of the list. "f_data:" marks the column without a name (or nothing),
    /// and the value of `file_id` carries no marker.
    bool Process(DBOperations operation, const std::basic_stringstream<wchar_t>& data);
    /// Operations 12 and 13; refused once the data has been committed.
    bool Process(DBOperations operation, const SLinkTableProperties& properties);

    /// Runs one statement, or several separated by semicolons.
    bool DB_ExecuteQuery(const char* sql);
    /// Prepares a query; `recordset` stands before its first row.
    bool DB_ExecuteQuery(const char* sql, std::shared_ptr<IRecordset>& recordset);

    /// `text` without single quotes.
    CStringA UpdateStr(const char* text);

    /// Makes the support archive "LandscapeValidation.zip" in `folder` from the processor's
    /// database file, the landscape files (each a path, of which the file name is used, and a text)
    /// and the launcher's settings. True when it was made. <naxfewxmldb/support_files.h> has a form
    /// that says what went in, and the rules for names, links and failures.
    static bool CollectSupportFiles(const std::shared_ptr<CDBProcessor>& processor,
                                    const _bstr_t& folder,
                                    const std::vector<std::pair<_bstr_t, _bstr_t>>& files);

    std::shared_ptr<IDatabase> GetDatabase() const;
    std::string GetDatabaseFileName() const;
    /// Whole content of a file; empty when it cannot be read.
    static _bstr_t GetFile(const _bstr_t& fileName);
    std::string GetLastDBError() const;
    /// The first failure of the disk, the memory or the locks behind the database since it was
    /// opened, whichever statement met it; empty without one. After it rows may be missing, also
    /// from results of operations that reported success, because most failures of single
    /// statements are only traced.
    std::string GetStorageFailure() const;
    std::shared_ptr<CXsdToDDLMapper> GetMapper() const;
    DBMode GetMode() const;
    bool GetUseResources() const;
    std::shared_ptr<CXmlXsdValidator> GetValidator() const;
    /// XML text of the schema; empty after UnInitialize.
    const _bstr_t GetXsd() const;
    /// The same as GetXsd: the schema, not the stylesheet.
    const _bstr_t GetXslt() const;
    std::string GetXsdFile() const;
    std::string GetXsltFile() const;
    TextProcessor getTextProcessor() const;
    const TextProcessor& getTextProcessorRef() const;

    /// Path of the database file, set by every Initialize of the process. Where several threads
    /// initialise processors, read it through GetDatabaseFileName, which is guarded.
    static std::string m_dbName;

protected:
    /// The system's message for an error code, line end included; empty for an unknown code.
    std::string ErrorMessageWin32(unsigned long code) const;

private:
    friend class CRecordLoader;
    friend class CRulesProcessor;

    bool Dispatch(DBOperations operation, const std::string& text);
    bool AddElementRecord(DBOperations operation, const char* text);

    bool DB_CreateBackup(const std::string& dbFile, bool deleteSource) const;
    bool DB_Clenup();
    bool DB_Create_Scheme();
    std::string FindTableFault(bool& refused) const;
    bool DB_Post_Update();
    bool DB_AddRecord(const char* tableName, const char* recordText);
    bool DB_AddQuery(const char* sql);
    bool AddWorkspaceRecord(const char* recordText);
    bool AddMessageServerRecord(const char* recordText);
    bool AddRouterRecord(const char* recordText);
    bool AddWebDispatcherRecord(const char* recordText);
    bool AddNodeRecord(const char* recordText);
    bool AddLDAPRecord(const char* recordText);
    bool AddServiceRecord(const char* recordText);
    bool AddParameterRecord(const char* recordText);
    bool AddServerConfigurationFileRecord(const char* recordText);
    bool AddItem(const char* recordText);
    bool CreateLinksTableDDL(const SLinkTableProperties& properties);
    bool DB_AddRecordLinkTable(const SLinkTableProperties& properties);
    bool DropAllViews();
    bool DB_Commit();
    bool RunQueue(std::string& failedSql);
    /// Opens the transaction of the commit early and runs what is queued.
    bool BeginDirectLoad();
    /// Reports a statement of the direct load like any other, and keeps it for the commit.
    void FailDirectLoad(const std::string& sql);
    /// Runs a queued statement, bound where it is a plain insert; the same to any observer.
    bool DB_ExecuteQuery(const std::string& sql, IBoundInsertRunner* boundInserts);
    void LetGoOfEarlier();
    bool RecreateTable(const char* dropSql, const char* createSql, const char* deleteSql);
    bool CreateResultIds();
    bool Error(const char* errorBlock, const std::string& message);
    /// The same with the database's message of an earlier moment.
    bool Error(const char* errorBlock, const std::string& message, const char* cause);

    TextProcessor m_textProcessor;
    bool m_useResources;
    bool m_dataMapped;
    DBMode m_mode;
    std::string m_xsdFile;
    std::string m_xsltFile;
    std::string m_lastDBError;
    std::shared_ptr<IDatabase> m_database;
    std::shared_ptr<IDatabase> m_earlier; ///< locked while the new one is in use
    std::shared_ptr<CXsdToDDLMapper> m_mapper;
    std::shared_ptr<CXmlXsdValidator> m_validator;
    std::map<std::string, std::string> m_insertPrefixes;
    CStatementQueue m_pendingQueries;
    bool m_directLoad = false;
    std::string m_failedRecord; ///< the statement that failed in a direct load
    /// Guards m_lastDBError, and keeps a failing statement and the reading of its message
    /// together; shared by copies because they share the connection.
    std::shared_ptr<std::recursive_mutex> m_errorMutex;
};

} // namespace Nax::FrontEnd::XMLDB
