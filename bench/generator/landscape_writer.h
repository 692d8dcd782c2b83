// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "landscape_model.h"

namespace Nax::FrontEnd::XMLDB::Bench {

/// Writes one landscape file entry by entry, so that a large landscape never stands in memory.
/// Call Begin once, Write per top-level entry in section order, End once. Every text comes out such
/// that a parser reads it back unchanged, line ends and tabs in attributes included; the texts must
/// be UTF-8 of characters that XML 1.0 allows. Failures are left in the state of the stream.
class CLandscapeWriter {
public:
    explicit CLandscapeWriter(std::ostream& stream) : m_stream(stream) {}

    void Begin(const std::vector<SModelInclude>& includes);
    void Write(const SModelEntry& entry);
    void End();

private:
    void WriteElement(const SModelEntry& entry, int depth);
    void WriteAttribute(std::string_view name, std::string_view value);
    void WriteText(std::string_view text);
    void OpenSection(std::string_view section);
    void CloseSection();

    std::ostream& m_stream;
    std::string_view m_section;
    std::string m_escaped;
};

std::string ToXml(const SModelFile& file);

} // namespace Nax::FrontEnd::XMLDB::Bench
