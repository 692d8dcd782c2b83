// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;

/// One value of a record.
struct SRecordValue {
    std::size_t column; ///< place in the mapper's list of the table's columns
    std::string_view text;
};

/// The quick way of records into the database, for hosts with more of them than a queue should
/// hold. What CDBProcessor::Process turns into text and queues until the commit, this inserts at
/// once, in the transaction that the commit then ends; tables and error texts are the same.
///
///     CRecordLoader loader(processor);
///     if (loader.Begin()) {
///         const std::size_t items = loader.FindTable("Item");
///         loader.BeginGroup();
///         loader.Add(items, values);
///         loader.EndGroup(wellFormed);
///         loader.End();
///     }
///     processor.Process(Commit, ...);
///
/// A record that fails is reported by the commit, as a queued one is; those after it are not
/// inserted. For want of memory it is the same, nothing is thrown. The processor must outlive the loader, and nobody else uses it between Begin and End:
/// its one connection would take their statements into the transaction. Other processors of the
/// process do not disturb it. One thread at a time, which need not be that of the processor.
class NAXFEWXMLDB_EXPORT CRecordLoader {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    explicit CRecordLoader(CDBProcessor& processor);
    CRecordLoader(const CRecordLoader&) = delete;
    CRecordLoader& operator=(const CRecordLoader&) = delete;
    ~CRecordLoader();

    /// Opens the transaction and makes the queued tables. False when records have to go through
    /// Process: in Normal mode, when no transaction can be opened, and when the trace wants a line
    /// for every record.
    bool Begin();
    /// The table of an element by the name that it has before the commit; kNone when there is none.
    std::size_t FindTable(const std::string& element);
    /// Columns without a value become NULL.
    void Add(std::size_t table, std::span<const SRecordValue> values);

    /// What is added from here on is a group that EndGroup keeps or takes back as a whole.
    void BeginGroup();
    void EndGroup(bool keep);
    /// Lets go of the prepared statements. Called by the destructor.
    void End();

private:
    struct STables;

    CDBProcessor& m_processor;
    std::unique_ptr<STables> m_tables;
    std::string m_failureBefore; ///< the processor's when the group began
};

} // namespace Nax::FrontEnd::XMLDB
