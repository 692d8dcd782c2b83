// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/platform/xml_dom.h>
#include <naxfewxmldb/text_types.h>

#include <string>

namespace Nax::FrontEnd::XMLDB {

/// One XML document and the state of its last load.
class NAXFEWXMLDB_EXPORT IXmlDocument {
public:
    virtual ~IXmlDocument() = default;

    virtual bool Load(const char* path) = 0;
    virtual bool LoadXML(const std::string& text) = 0;
    virtual void SetLoadState(bool state) = 0;
    virtual bool GetLoadState() = 0;
    /// Shares ownership of `document` and lets go of the one held before.
    virtual void SetDocument(IXMLDOMDocument2Ptr document) = 0;
    /// A counted copy; null when there is no document.
    virtual IXMLDOMDocument2Ptr GetDocument() = 0;
    /// Traces both texts; always false.
    virtual bool Error(const char* block, const char* message) = 0;
};

/// Owns one document object of the platform.
///
/// Failures are remembered, traced and reported as false, never thrown: without a document object
/// every load fails and GetDocument is null. One thread at a time, on which the platform's
/// component services are initialised.
class NAXFEWXMLDB_EXPORT CXmlDbDocument : public virtual IXmlDocument {
public:
    CXmlDbDocument();
    ~CXmlDbDocument() override;
    CXmlDbDocument(const CXmlDbDocument&) = delete;
    CXmlDbDocument& operator=(const CXmlDbDocument&) = delete;

    bool Load(const char* path) override;
    bool LoadXML(const std::string& text) override;
    void SetLoadState(bool state) override;
    bool GetLoadState() override;
    void SetDocument(IXMLDOMDocument2Ptr document) override;
    IXMLDOMDocument2Ptr GetDocument() override;
    bool Error(const char* block, const char* message) override;

    /// Why the last failed load failed; empty before the first failure. A later successful load
    /// leaves it in place.
    const std::string& GetLastErrorText() const { return m_lastError; }

    /// Bytes of a built-in resource; empty when there is none. With `size` the binary resource of
    /// that id, whose byte count is stored there; without, the text resource.
    static std::string LoadInternalResource(int id, unsigned long* size);

protected:
    IXMLDOMDocument2Ptr m_document;

private:
    bool FinishLoad(bool loaded);

    IXMLDOMParseErrorPtr m_parseError;
    bool m_loadState = false;
    std::string m_lastError;
};

/// An XML Schema document.
class NAXFEWXMLDB_EXPORT CXSDDocument : public CXmlDbDocument {
public:
    CXSDDocument() = default;
    ~CXSDDocument() override;
};

/// A stylesheet, which may call document().
class NAXFEWXMLDB_EXPORT CXSLTDocument : public CXmlDbDocument {
public:
    CXSLTDocument();
    ~CXSLTDocument() override;
};

} // namespace Nax::FrontEnd::XMLDB
