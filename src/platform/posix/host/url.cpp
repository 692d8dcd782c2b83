// SPDX-License-Identifier: Apache-2.0
#include "platform/url.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <memory>

namespace Nax::FrontEnd::XMLDB {

namespace {

struct SUrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using UrlHandle = std::unique_ptr<CURLU, SUrlDeleter>;

std::string PartOf(CURLU* url, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, flags) != CURLUE_OK) {
        return {};
    }
    const std::unique_ptr<char, decltype(&curl_free)> owned(text, curl_free);
    return text;
}

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    });
    return text;
}

bool Set(CURLU* url, CURLUPart part, const char* text, unsigned flags = 0) {
    return curl_url_set(url, part, text, flags) == CURLUE_OK;
}

} // namespace

std::optional<SUrl> ParseUrl(const std::string& reference, const std::string& base,
                             DotSegments dots) {
    // Nothing but a fragment is the base itself, which the URL library does not know.
    const std::string withoutFragment = reference.substr(0, reference.find('#'));
    const std::string& text = withoutFragment.empty() ? base : withoutFragment;
    const unsigned flags = CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE |
                           (dots == DotSegments::Keep ? CURLU_PATH_AS_IS : 0U);
    const UrlHandle url(curl_url());
    if (!url || (!base.empty() && !Set(url.get(), CURLUPART_URL, base.c_str(), flags)) ||
        !Set(url.get(), CURLUPART_URL, text.c_str(), flags)) {
        return std::nullopt;
    }
    SUrl parsed;
    const std::string host = LowerCase(PartOf(url.get(), CURLUPART_HOST));
    parsed.scheme = LowerCase(PartOf(url.get(), CURLUPART_SCHEME));
    parsed.path = PartOf(url.get(), CURLUPART_PATH);
    parsed.query = PartOf(url.get(), CURLUPART_QUERY);
    if (host.empty() || parsed.scheme.empty() || !Set(url.get(), CURLUPART_HOST, host.c_str())) {
        return std::nullopt;
    }
    Set(url.get(), CURLUPART_FRAGMENT, nullptr); // of the base
    parsed.full = PartOf(url.get(), CURLUPART_URL, CURLU_NO_DEFAULT_PORT);
    for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS}) {
        Set(url.get(), part, nullptr);
    }
    parsed.shown = PartOf(url.get(), CURLUPART_URL, CURLU_NO_DEFAULT_PORT);
    return parsed.full.empty() ? std::nullopt : std::optional(parsed);
}

} // namespace Nax::FrontEnd::XMLDB
