// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "element_positions.h"
#include "file_list.h"
#include "landscape_tables.h"
#include "record_writer.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace LandscapeValidator {

class CRemoteIncludes;
struct SFetchedFile;

/// What the schema check of one file found.
struct SFileOutcome {
    Nax::FrontEnd::XMLDB::ResultCodes code = Nax::FrontEnd::XMLDB::ValidationAgainstXSDPassed;
    Nax::FrontEnd::XMLDB::SXmlValidationResult result;
    std::string note;      ///< why the file was not read, when it was not looked for
    std::string place;     ///< by whom it is included, for a file that was not read
    std::string remark;    ///< an information beside all else, such as that a cached copy was read
    std::string remarkEnd; ///< of the remark, what differs from run to run
};

/// Reads a run's files into the database, validating each in the same pass. Follows include
/// entries as they are found. One use.
///
/// Entries are inserted while their file is read, and taken back when it is not well-formed. Where
/// the processor does not offer that, as when the trace names every record, a file's entries are
/// kept to its end and then queued one by one.
class CLandscapeLoader {
public:
    using Progress = std::function<void(const SLandscapeFile&, std::size_t knownFiles)>;

    /// `processor` must have created its database; it and `files` must outlive the loader.
    CLandscapeLoader(Nax::FrontEnd::XMLDB::CDBProcessor& processor, CFileList& files);
    CLandscapeLoader(const CLandscapeLoader&) = delete;
    CLandscapeLoader& operator=(const CLandscapeLoader&) = delete;
    ~CLandscapeLoader();

    /// Loads all files and queues their rows. False when the database refused a record.
    bool Load(const Progress& progress);
    /// Inserts, after the commit, the rows of elements that have no record operation.
    bool InsertRemainingRows();

    /// By file index, as many as there are files.
    const std::vector<SFileOutcome>& GetOutcomes() const { return m_outcomes; }
    const Nax::FrontEnd::XMLDB::SchemaFindings& GetFindings() const { return m_findings; }
    /// Lets files that break the schema pass; those that cannot be used stay findings.
    void ForgetViolations();
    std::size_t GetEntryCount() const { return m_entryCount; }
    const CLandscapeTables& GetTables() const { return m_tables; }
    const CElementPositions& GetPositions() const { return m_positions; }
    /// Why the schema check could not be made; empty when it could.
    const std::string& GetFailure() const { return m_failure; }

private:
    bool LoadFiles(const Progress& progress);
    bool LoadFile(const SLandscapeFile& file);
    bool TakeFile(const SLandscapeFile& file, CElementCollector& collector);
    bool TakeRemote(const SLandscapeFile& file, CElementCollector& collector);
    bool ReadFile(const SLandscapeFile& file, CElementCollector& collector);
    void AddRemark(const SLandscapeFile& file, const SFetchedFile& fetched);
    void Skip(const SLandscapeFile& file, Nax::FrontEnd::XMLDB::ResultCodes code,
              const std::string& note);
    bool BeginFile(int index, const std::string& url, const std::optional<std::string>& description,
                   const std::optional<std::string>& name);
    bool AddRecords(const CRecordBuffer& records, const std::string& fileIndex);
    bool Process(Nax::FrontEnd::XMLDB::DBOperations operation, const std::string& record);

    Nax::FrontEnd::XMLDB::CDBProcessor& m_processor;
    CFileList& m_files;
    CLandscapeTables m_tables;
    CElementPositions m_positions;
    const _bstr_t m_schema;
    std::wstringstream m_stream;
    std::unique_ptr<CRemoteIncludes> m_remote; ///< made for the first file that is fetched
    std::vector<SFileOutcome> m_outcomes;
    Nax::FrontEnd::XMLDB::SchemaFindings m_findings;
    std::vector<std::string> m_remainingRows;
    Nax::FrontEnd::XMLDB::CRecordLoader m_recordLoader;
    std::unique_ptr<CRecordWriter> m_writer; ///< null when entries are queued
    std::size_t m_entryCount = 0;
    std::string m_failure;
};

} // namespace LandscapeValidator
