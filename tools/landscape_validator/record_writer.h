// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "element_positions.h"
#include "landscape_tables.h"
#include "record_buffer.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace LandscapeValidator {

/// Inserts records on a thread of its own while the files are being read. Only a few blocks wait,
/// so memory does not grow with a file; the entries of a file that turns out not to be well-formed
/// are taken back. Where no thread can be had the records are inserted at once.
///
/// Begun by the constructor. Until Finish nobody else uses the loader's processor.
class CRecordWriter {
public:
    CRecordWriter(Nax::FrontEnd::XMLDB::CRecordLoader& loader, const CLandscapeTables& tables,
                  CElementPositions& positions);
    CRecordWriter(const CRecordWriter&) = delete;
    CRecordWriter& operator=(const CRecordWriter&) = delete;
    ~CRecordWriter();

    /// `row` is the file's own packed record, which stays whatever becomes of its entries.
    void BeginFile(int index, std::string row);
    void Add(std::string&& block);
    void EndFile(bool keep);
    /// Waits until everything is inserted. Raises what a record raised.
    void Finish();

    /// Entries that were kept.
    std::size_t GetEntryCount() const { return m_entryCount; }

private:
    enum class Step { BeginFile, Add, KeepFile, DropFile };
    struct SItem {
        Step step;
        int fileIndex;
        std::string block;
    };

    /// Waits for the thread; needs no memory, since it also ends what ran out of it.
    void End() noexcept;
    void Push(SItem item);
    void Work() noexcept;
    void Do(const SItem& item);
    void AddBlock(const std::string& block);

    Nax::FrontEnd::XMLDB::CRecordLoader& m_loader;
    const CLandscapeTables& m_tables;
    CElementPositions& m_positions;
    std::vector<std::size_t> m_loaderTables;     ///< by table
    std::vector<std::size_t> m_fileIndexColumns; ///< by table
    std::vector<Nax::FrontEnd::XMLDB::SRecordValue> m_values;
    std::string m_fileIndex;
    std::vector<std::size_t> m_positionsBefore;
    std::size_t m_entriesBefore = 0;
    std::size_t m_entryCount = 0;
    std::exception_ptr m_failure;

    std::mutex m_mutex; ///< guards the queue
    std::condition_variable m_changed;
    std::deque<SItem> m_queue;
    bool m_ended = false; ///< nothing more comes
    std::thread m_thread;
};

} // namespace LandscapeValidator
