// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "landscape_tables.h"
#include "record_buffer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace LandscapeValidator {

/// An `Include` entry of a landscape file.
struct SInclude {
    std::string url;
    std::optional<std::string> description;
    std::optional<std::string> name;
    long line = 0;
};

/// Takes one landscape file's elements off the parser: entries into a record buffer, include
/// entries into a list. Unknown elements and attributes are left out; known ones inside unknown
/// ones are kept. Items and nodes get the uuid of the node or workspace around them.
class CElementCollector : public Nax::FrontEnd::XMLDB::IXmlElementSink {
public:
    /// With `takeBlock` full blocks of records are handed on instead of kept. Of the includes that
    /// a file names, each counts once, and one more than `maxIncludes` are kept.
    explicit CElementCollector(const CLandscapeTables& tables,
                               CRecordBuffer::TakeBlock takeBlock = {},
                               std::uint64_t maxIncludes = 10'000);

    void StartElement(std::string_view name,
                      std::span<const Nax::FrontEnd::XMLDB::SXmlAttribute> attributes,
                      long line) override;
    void EndElement(std::string_view name) override;
    void Characters(std::string_view text) override;

    const CRecordBuffer& GetRecords() const { return m_records; }
    /// Hands on the records that wait for their block to be full.
    void Flush() { m_records.Flush(); }
    const std::vector<SInclude>& GetIncludes() const { return m_includes; }

private:
    using Attributes = std::span<const Nax::FrontEnd::XMLDB::SXmlAttribute>;

    /// A service waits for its end, because its memo stands inside it.
    struct SOpenService {
        std::string record; ///< packed
        std::optional<std::string> memo;
    };

    void AddEntry(std::size_t table, Attributes attributes, long line);
    void AddInclude(Attributes attributes, long line);
    void OpenService(Attributes attributes, long line);
    void CloseService();
    void OpenMemo(long line);
    void CloseMemo();
    void ReadValues(std::size_t table, Attributes attributes);
    void AddPresets(const STable& table);
    std::size_t FindColumn(std::size_t table, std::size_t place, std::string_view attribute);
    std::size_t FindTextColumn(std::size_t table) const;

    const CLandscapeTables& m_tables;
    const std::uint64_t m_maxIncludes;
    const std::size_t m_maxMemo;
    const std::size_t m_serviceTable;
    CRecordBuffer m_records;
    std::vector<SInclude> m_includes;
    std::unordered_set<std::string> m_includeUrls;
    std::vector<CRecordBuffer::SValue> m_values;
    /// By table and place of the attribute: the column that it had in the entry before.
    std::vector<std::vector<std::size_t>> m_lastColumns;
    std::vector<std::string> m_parents; ///< uuids of the open workspaces and nodes
    std::vector<SOpenService> m_services;
    int m_openMemos = 0;
    /// The open memo's service, which need not be the innermost: a memo may have services inside.
    std::size_t m_memoService = 0;
    /// A memo that is not the first of a service: a row of its own.
    std::optional<std::string> m_strayMemo;
    long m_strayMemoLine = 0;
};

} // namespace LandscapeValidator
