// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/xml_stream.h"

#include <naxfewxmldb/platform/xml_dom.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// A folder of its own for one test, removed with all its files.
class CXmlTestFolder {
public:
    CXmlTestFolder();
    CXmlTestFolder(const CXmlTestFolder&) = delete;
    CXmlTestFolder& operator=(const CXmlTestFolder&) = delete;
    ~CXmlTestFolder();

    /// Writes the file and gives its path.
    std::string Write(const std::string& name, std::string_view content) const;
    std::string Path(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

struct SXmlTestFault {
    long code = 0;
    std::string reason;
    std::string source;
    long line = 0;
    long position = 0;
};

struct SXmlTestOutcome {
    HRESULT result = 0;
    bool successful = false;
    long total = 0;
    std::vector<SXmlTestFault> faults;
};

std::string TextOf(BSTR text);
IXMLDOMDocument2Ptr NewDocument();
/// A document with that text; fails the test when it does not load.
IXMLDOMDocument2Ptr DocumentOf(std::string_view xml);
IXMLDOMSchemaCollection2Ptr SchemasOf(std::string_view xsd);
IXMLDOMDocument2Ptr ValidatingDocument(std::string_view xsd, bool allFaults = true);
IXMLDOMDocument2Ptr ValidatingDocument(const IXMLDOMSchemaCollection2Ptr& schemas, bool allFaults);

SXmlTestOutcome Load(const IXMLDOMDocument2Ptr& document, const std::string& path);
SXmlTestOutcome LoadText(const IXMLDOMDocument2Ptr& document, std::string_view xml);
SXmlTestOutcome LoadInto(const IXMLDOMDocument2Ptr& document, const std::string& path,
                         IXmlElementSink& sink);
std::string XmlOf(IXMLDOMNode* node);
std::string NodeTextOf(IXMLDOMNode* node);
std::string NameOf(IXMLDOMNode* node);
IXMLDOMElementPtr RootOf(const IXMLDOMDocument2Ptr& document);

/// Every operation's text, one after the other: "<name a='v'@line>", "</name>", "text".
class CRecordingSink : public IXmlElementSink {
public:
    void StartElement(std::string_view name, std::span<const SXmlAttribute> attributes,
                      long line) override;
    void EndElement(std::string_view name) override;
    void Characters(std::string_view text) override;

    std::string log;
};

} // namespace Nax::FrontEnd::XMLDB
