// SPDX-License-Identifier: Apache-2.0
#include "landscape_writer.h"

#include <array>
#include <ostream>
#include <sstream>

namespace Nax::FrontEnd::XMLDB::Bench {

namespace {

struct SKindNames {
    std::string_view element;
    std::string_view section;
};

const SKindNames& NamesOf(EKind kind) {
    static constexpr std::array<SKindNames, 9> NAMES = {{{"Service", "Services"},
                                                         {"Workspace", "Workspaces"},
                                                         {"Node", "Workspaces"},
                                                         {"Item", "Workspaces"},
                                                         {"Messageserver", "Messageservers"},
                                                         {"Router", "Routers"},
                                                         {"LDAP", "LDAPS"},
                                                         {"Webdispatcher", "Webdispatchers"},
                                                         {"ServiceTemplate", "ServiceTemplates"}}};
    return NAMES.at(static_cast<std::size_t>(kind));
}

// Line ends and tabs become character references: a literal one would be read back as a blank in an
// attribute, and a literal carriage return as a line feed in text.
std::string_view Replacement(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\n':
            return "&#10;";
        case '\r':
            return "&#13;";
        case '\t':
            return "&#9;";
        default:
            return {};
    }
}

} // namespace

void CLandscapeWriter::Begin(const std::vector<SModelInclude>& includes) {
    m_stream << R"(<?xml version="1.0" encoding="UTF-8"?>)"
                "\n"
                R"(<Landscape updated="2024-01-01T00:00:00Z" version="1" generator="generator">)"
                "\n";
    if (includes.empty()) {
        return;
    }
    OpenSection("Includes");
    for (const SModelInclude& include : includes) {
        m_stream << "    <Include";
        WriteAttribute("url", include.url);
        if (include.description) {
            WriteAttribute("description", *include.description);
        }
        if (include.name) {
            WriteAttribute("name", *include.name);
        }
        m_stream << "/>\n";
    }
    CloseSection();
}

void CLandscapeWriter::Write(const SModelEntry& entry) {
    const std::string_view section = NamesOf(entry.kind).section;
    if (section != m_section) {
        CloseSection();
        OpenSection(section);
    }
    WriteElement(entry, 2);
}

void CLandscapeWriter::End() {
    CloseSection();
    m_stream << "</Landscape>\n";
}

void CLandscapeWriter::WriteElement(const SModelEntry& entry, int depth) {
    constexpr std::string_view BLANKS = "                                ";
    const std::string_view indent = BLANKS.substr(0, static_cast<std::size_t>(depth) * 2);
    const std::string_view element = NamesOf(entry.kind).element;
    m_stream << indent << '<' << element;
    for (const SModelAttribute& attribute : entry.attributes) {
        WriteAttribute(attribute.name, attribute.value);
    }
    if (!entry.memo && entry.children.empty()) {
        m_stream << "/>\n";
        return;
    }
    m_stream << '>';
    if (entry.memo) {
        m_stream << R"(<Memo xml:space="preserve">)";
        WriteText(*entry.memo);
        m_stream << "</Memo>";
    } else {
        m_stream << '\n';
        for (const SModelEntry& child : entry.children) {
            WriteElement(child, depth + 1);
        }
        m_stream << indent;
    }
    m_stream << "</" << element << ">\n";
}

void CLandscapeWriter::WriteAttribute(std::string_view name, std::string_view value) {
    m_stream << ' ' << name << "=\"";
    WriteText(value);
    m_stream << '"';
}

void CLandscapeWriter::WriteText(std::string_view text) {
    if (text.find_first_of("&<>\"\n\r\t") == std::string_view::npos) {
        m_stream << text;
        return;
    }
    m_escaped.clear();
    for (const char c : text) {
        const std::string_view replacement = Replacement(c);
        if (replacement.empty()) {
            m_escaped += c;
        } else {
            m_escaped += replacement;
        }
    }
    m_stream << m_escaped;
}

void CLandscapeWriter::OpenSection(std::string_view section) {
    m_section = section;
    m_stream << "  <" << section << ">\n";
}

void CLandscapeWriter::CloseSection() {
    if (!m_section.empty()) {
        m_stream << "  </" << m_section << ">\n";
        m_section = {};
    }
}

std::string ToXml(const SModelFile& file) {
    std::ostringstream stream;
    CLandscapeWriter writer(stream);
    writer.Begin(file.includes);
    for (const SModelEntry& entry : file.entries) {
        writer.Write(entry);
    }
    writer.End();
    return std::move(stream).str();
}

} // namespace Nax::FrontEnd::XMLDB::Bench
