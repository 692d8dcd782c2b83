// SPDX-License-Identifier: Apache-2.0
#include "xml_transform.h"

#include "reserve_memory.h"
#include "xml_com_object.h"
#include "xml_loader.h"

#include <libxslt/security.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

namespace Nax::FrontEnd::XMLDB {

namespace {

using TStylesheet = std::unique_ptr<xsltStylesheet, SFreeWith<xsltFreeStylesheet>>;
using TTransformation = std::unique_ptr<xsltTransformContext, SFreeWith<xsltFreeTransformContext>>;
using TSecurity = std::unique_ptr<xsltSecurityPrefs, SFreeWith<xsltFreeSecurityPrefs>>;
using TOutput = std::unique_ptr<xmlOutputBuffer, SFreeWith<xmlOutputBufferClose>>;

// A stylesheet may come from somebody else, and need not come to an end by itself. The landscape
// schema takes 110,000 steps and 2 MB.
constexpr unsigned long MostSteps = 20'000'000; // of templates; of expressions
constexpr std::size_t MostMemory = std::size_t{256} << 20U;
constexpr std::size_t MostText = std::size_t{64} << 20U;

/// The XML library's own messages while a stylesheet is at work, which are about paths and files.
class CErrors : public IXmlErrorReceiver {
public:
    void OnXmlError(const xmlError& error) noexcept override {
        CXmlLibraryGuard* guard = CXmlLibraryGuard::Current();
        if (guard != nullptr && error.level >= XML_ERR_ERROR && error.message != nullptr) {
            guard->AppendMessage(error.message);
        }
    }
};

[[noreturn]] void Fail(const char* what, const CXmlLibraryGuard& guard) {
    std::string text = what;
    for (const std::string& load : guard.FailedLoads()) {
        text += "\n" + load;
    }
    if (!guard.Messages().empty()) {
        text += "\n" + guard.Messages();
    }
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    throw CXmlFailure(text);
}

TSecurity MakeSecurity(bool allowDocument) {
    TSecurity security(xsltNewSecurityPrefs());
    if (security == nullptr) {
        throw std::bad_alloc();
    }
    for (const xsltSecurityOption option :
         {XSLT_SECPREF_WRITE_FILE, XSLT_SECPREF_CREATE_DIRECTORY, XSLT_SECPREF_READ_NETWORK,
          XSLT_SECPREF_WRITE_NETWORK}) {
        xsltSetSecurityPrefs(security.get(), option, xsltSecurityForbid);
    }
    xsltSetSecurityPrefs(security.get(), XSLT_SECPREF_READ_FILE,
                         allowDocument ? xsltSecurityAllow : xsltSecurityForbid);
    return security;
}

TStylesheet Compile(const SXmlText& stylesheet, const CXmlLibraryGuard& guard) {
    TDocHandle document = ParsePlain(stylesheet.text, stylesheet.url);
    TStylesheet compiled(xsltParseStylesheetDoc(document.get()));
    if (compiled == nullptr) {
        Fail("The stylesheet cannot be used.", guard);
    }
    // From here on the stylesheet owns its document.
    static_cast<void>(document.release());
    if (compiled->errors != 0) {
        Fail("The stylesheet cannot be used.", guard);
    }
    return compiled;
}

void Stop(void* context) noexcept {
    auto* const transformation = static_cast<xsltTransformContextPtr>(context);
    transformation->state = XSLT_STATE_STOPPED;
    transformation->xpathCtxt->opCount = MostSteps;
}

TDocHandle Apply(xsltStylesheetPtr stylesheet, xmlDocPtr document, xsltTransformContextPtr context,
                 const CXmlLibraryGuard& guard) {
    context->opLimit = MostSteps;
    context->xpathCtxt->opLimit = MostSteps;
    const ReserveMemory::CBound memory(MostMemory, Stop, context);
    TDocHandle result(
        xsltApplyStylesheetUser(stylesheet, document, nullptr, nullptr, nullptr, context));
    if (memory.IsExceeded()) {
        throw CXmlFailure("The transformation takes more than 256 MB of memory.");
    }
    if (context->opCount >= MostSteps || context->xpathCtxt->opCount >= MostSteps) {
        throw CXmlFailure("The transformation takes more than 20,000,000 steps.");
    }
    if (result == nullptr || context->state != XSLT_STATE_OK || !guard.FailedLoads().empty()) {
        Fail("The transformation failed.", guard);
    }
    return result;
}

std::string Saved(xmlDocPtr result, xsltStylesheetPtr stylesheet) {
    const TOutput output(xmlAllocOutputBuffer(nullptr));
    if (output == nullptr || xsltSaveResultTo(output.get(), result, stylesheet) < 0) {
        throw std::bad_alloc();
    }
    const std::size_t size = xmlOutputBufferGetSize(output.get());
    if (size > MostText) {
        throw CXmlFailure("The transformation gives more than 64 MB of text.");
    }
    const xmlChar* text = xmlOutputBufferGetContent(output.get());
    return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text), size);
}

} // namespace

std::string Transform(const SXmlText& source, const SXmlText& stylesheet, bool allowDocument) {
    const TDocHandle document = ParsePlain(source.text, source.url);
    CErrors errors;
    CXmlLibraryGuard guard(EXmlLoading::Definitions, &errors);
    guard.CountTags(stylesheet.text);
    const TStylesheet compiled = Compile(stylesheet, guard);
    const TSecurity security = MakeSecurity(allowDocument);
    const TTransformation context(xsltNewTransformContext(compiled.get(), document.get()));
    if (context == nullptr || xsltSetCtxtSecurityPrefs(security.get(), context.get()) != 0) {
        throw std::bad_alloc();
    }
    guard.SetLoading(EXmlLoading::Data);
    const TDocHandle result = Apply(compiled.get(), document.get(), context.get(), guard);
    return Saved(result.get(), compiled.get());
}

} // namespace Nax::FrontEnd::XMLDB
