// SPDX-License-Identifier: Apache-2.0
#include "record_writer.h"

#include <system_error>
#include <utility>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

constexpr std::size_t kMaxWaiting = 8;

} // namespace

CRecordWriter::CRecordWriter(CRecordLoader& loader, const CLandscapeTables& tables,
                             CElementPositions& positions)
    : m_loader(loader), m_tables(tables), m_positions(positions) {
    for (std::size_t table = 0; table < tables.GetCount(); ++table) {
        m_loaderTables.push_back(CRecordLoader::kNone);
        const std::vector<SColumn>& columns = tables[table].columns;
        std::size_t place = 0;
        while (place < columns.size() && columns[place].content != ColumnContent::FileIndex) {
            ++place;
        }
        m_fileIndexColumns.push_back(place < columns.size() ? place : CLandscapeTables::kNone);
    }
    try {
        m_thread = std::thread([this] { Work(); });
    } catch (const std::system_error&) {
        // Slower, but the same.
    }
}

CRecordWriter::~CRecordWriter() {
    End();
}

void CRecordWriter::End() noexcept {
    if (m_thread.joinable()) {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }
}

void CRecordWriter::BeginFile(int index, std::string row) {
    Push({Step::BeginFile, index, std::move(row)});
}

void CRecordWriter::Add(std::string&& block) {
    Push({Step::Add, 0, std::move(block)});
}

void CRecordWriter::EndFile(bool keep) {
    Push({keep ? Step::KeepFile : Step::DropFile, 0, {}});
}

void CRecordWriter::Finish() {
    End();
    if (m_failure) {
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    }
}

void CRecordWriter::Push(SItem item) {
    if (!m_thread.joinable()) {
        Do(item);
        return;
    }
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queue.size() < kMaxWaiting; });
    m_queue.push_back(std::move(item));
    m_changed.notify_all();
}

void CRecordWriter::Work() noexcept {
    for (;;) {
        SItem item;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return !m_queue.empty() || m_ended; });
            if (m_queue.empty()) {
                return;
            }
            item = std::move(m_queue.front());
            m_queue.pop_front();
            m_changed.notify_all();
        }
        try {
            // After a failure the queue is still emptied: the reader waits for its room.
            if (!m_failure) {
                Do(item);
            }
        } catch (...) {
            m_failure = std::current_exception();
        }
    }
}

void CRecordWriter::Do(const SItem& item) {
    switch (item.step) {
        case Step::BeginFile:
            m_fileIndex = std::to_string(item.fileIndex);
            AddBlock(item.block);
            m_loader.BeginGroup();
            m_positionsBefore = m_positions.GetSizes();
            m_entriesBefore = m_entryCount;
            break;
        case Step::Add:
            AddBlock(item.block);
            break;
        case Step::KeepFile:
            m_loader.EndGroup(true);
            break;
        case Step::DropFile:
            m_loader.EndGroup(false);
            m_positions.CutTo(m_positionsBefore);
            m_entryCount = m_entriesBefore;
            break;
    }
}

void CRecordWriter::AddBlock(const std::string& block) {
    CRecordBuffer::ForEachIn(block, [this](const CRecordBuffer::SPackedRecord& record) {
        std::size_t& table = m_loaderTables[record.table];
        if (table == CRecordLoader::kNone) {
            table = m_loader.FindTable(m_tables[record.table].name);
        }
        m_values.clear();
        for (const CRecordBuffer::SValue& value : record.values) {
            m_values.push_back({value.column, value.text});
        }
        if (const std::size_t column = m_fileIndexColumns[record.table];
            column != CLandscapeTables::kNone) {
            m_values.push_back({column, m_fileIndex});
        }
        m_loader.Add(table, m_values);
        if (m_tables[record.table].operation.has_value()) {
            m_positions.Add(record.table, record.line);
            ++m_entryCount;
        }
    });
}

} // namespace LandscapeValidator
