// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/xml_document.h>

#include "support/trace.h"
#include "xml/com_check.h"
#include "xml/error_block.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CXSLTDocument";
constexpr char kFile[] = "xslt_document";
constexpr short kTrue = -1;

} // namespace

CXSLTDocument::CXSLTDocument() {
    if (!m_document) {
        NAX_TRACE(kClass, "CXSLTDocument::CXSLTDocument m_document is null\n");
        return;
    }
    try {
        NAX_CHECK(m_document->setProperty(_bstr_t(L"AllowDocumentFunction"), _variant_t(kTrue)));
        NAX_TRACE(kClass, "CXSLTDocument created\n");
    } catch (const _com_error& error) {
        CXmlDbDocument::Error(ErrorBlock("CXSLTDocument::CXSLTDocument", kFile, __LINE__).c_str(),
                              DescribeComError(error).c_str());
    }
}

CXSLTDocument::~CXSLTDocument() = default;

} // namespace Nax::FrontEnd::XMLDB
