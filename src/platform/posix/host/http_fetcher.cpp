// SPDX-License-Identifier: Apache-2.0
#include "platform/http_fetcher.h"

#include "crypto_memory.h"
#include "reserve_memory.h"
#include "utf8_locale.h"

#include <naxfewxmldb/memory.h>

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr long kConnectTimeout = 10000; // milliseconds

struct SHandleDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Handle = std::unique_ptr<CURL, SHandleDeleter>;
using List = std::unique_ptr<curl_slist, SHandleDeleter>;

constexpr std::size_t kHeaderLimit = 300'000;

/// The body as it arrives.
struct SBody {
    std::string text;
    std::size_t limit = 0;
    bool tooLarge = false;
    std::size_t headerSize = 0; ///< with what stands behind the body
};

// What the library lacks in memory is counted; what it calls that beside is something else.
void* AllocateZeros(std::size_t count, std::size_t size) {
    void* const block = ReserveMemory::Allocate(count * size);
    return block == nullptr ? nullptr : std::memset(block, 0, count * size);
}

char* Duplicate(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    void* const copy = ReserveMemory::Allocate(size);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

std::size_t TakeBody(char* data, std::size_t size, std::size_t count, void* target) {
    SBody& body = *static_cast<SBody*>(target);
    const std::size_t bytes = size * count;
    if (bytes > body.limit - body.text.size()) {
        body.tooLarge = true;
        return 0; // ends the transfer
    }
    body.text.append(data, bytes);
    return bytes;
}

/// The library keeps every line of it, and bounds those in front of the body only.
std::size_t TakeHeader(char* /*data*/, std::size_t size, std::size_t count, void* target) {
    std::size_t& headerSize = static_cast<SBody*>(target)->headerSize;
    headerSize += size * count;
    return headerSize > kHeaderLimit ? 0 : size * count;
}

void AddHeader(List& headers, const std::string& name, const std::string& value) {
    if (!value.empty()) {
        curl_slist* const longer = curl_slist_append(headers.get(), (name + ": " + value).c_str());
        if (longer != nullptr) {
            static_cast<void>(headers.release());
            headers.reset(longer);
        }
    }
}

std::string HeaderOf(CURL* handle, const char* name) {
    curl_header* header = nullptr;
    return curl_easy_header(handle, name, 0, CURLH_HEADER, -1, &header) == CURLHE_OK ? header->value
                                                                                     : "";
}

/// Failures of trust, of our own set-up, and of size: trying again would not help.
HttpOutcome OutcomeOf(CURLcode code) {
    switch (code) {
        case CURLE_OK:
            return HttpOutcome::Answered;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
        case CURLE_USE_SSL_FAILED:
        case CURLE_FILESIZE_EXCEEDED:
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_URL_MALFORMAT:
        case CURLE_OUT_OF_MEMORY:
        case CURLE_WRITE_ERROR:
            return HttpOutcome::Refused;
        default:
            return HttpOutcome::NoAnswer;
    }
}

/// `detail` may be empty. Some hold milliseconds, by which equal failures would differ.
std::string ReasonOf(CURLcode code, const char* detail) {
    const bool timed = code == CURLE_COULDNT_CONNECT || code == CURLE_OPERATION_TIMEDOUT;
    return timed || *detail == '\0' ? curl_easy_strerror(code) : detail;
}

class CHttpFetcher : public IHttpFetcher {
public:
    explicit CHttpFetcher(std::string certificates) : m_certificates(std::move(certificates)) {
        InstallCryptoMemory();
        curl_global_init_mem(CURL_GLOBAL_DEFAULT, ReserveMemory::Allocate, ReserveMemory::Free,
                             ReserveMemory::Reallocate, Duplicate, AllocateZeros);
        m_handle.reset(curl_easy_init());
    }
    CHttpFetcher(const CHttpFetcher&) = delete;
    CHttpFetcher& operator=(const CHttpFetcher&) = delete;
    ~CHttpFetcher() override {
        m_handle.reset();
        curl_global_cleanup();
    }

    SHttpAnswer Fetch(const SHttpRequest& request) override {
        SHttpAnswer answer;
        if (!m_handle) {
            answer.reason = "the network library cannot be set up";
            return answer;
        }
        SBody body;
        body.limit = request.maxSize;
        List headers;
        AddHeader(headers, "If-None-Match", request.entityTag);
        AddHeader(headers, "If-Modified-Since", request.lastModified);
        std::array<char, CURL_ERROR_SIZE> error = {};
        SetUp(request, body, headers.get(), error.data());
        const CUtf8Locale forHostNames;
        const std::uint64_t lacking = GetFailedAllocations();
        const CURLcode code = curl_easy_perform(m_handle.get());
        ReadAnswer(code, answer);
        if (body.tooLarge || code == CURLE_FILESIZE_EXCEEDED) {
            answer.outcome = HttpOutcome::Refused;
            answer.reason =
                "it is larger than the limit of " + std::to_string(request.maxSize) + " bytes";
        } else if (body.headerSize > kHeaderLimit ||
                   (code == CURLE_OUT_OF_MEMORY && GetFailedAllocations() == lacking)) {
            answer.reason = "its header, or a line of it, is too long";
        } else if (code != CURLE_OK) {
            answer.reason = ReasonOf(code, error.data());
        }
        answer.body = std::move(body.text);
        // The handle must not keep pointers to what ends here.
        curl_easy_reset(m_handle.get());
        return answer;
    }

private:
    void SetUp(const SHttpRequest& request, SBody& body, curl_slist* headers, char* error) {
        CURL* const handle = m_handle.get();
        const auto timeout = static_cast<long>(request.timeout.count());
        curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
        curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
        curl_easy_setopt(handle, CURLOPT_USERAGENT, "landscape-validator");
        curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, timeout);
        curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, std::min(timeout, kConnectTimeout));
        curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE,
                         static_cast<curl_off_t>(request.maxSize));
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, TakeBody);
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
        curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, TakeHeader);
        curl_easy_setopt(handle, CURLOPT_HEADERDATA, &body);
        curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, error);
        if (!m_certificates.empty()) {
            curl_easy_setopt(handle, CURLOPT_CAINFO, m_certificates.c_str());
        }
    }

    void ReadAnswer(CURLcode code, SHttpAnswer& answer) {
        CURL* const handle = m_handle.get();
        answer.outcome = OutcomeOf(code);
        curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &answer.status);
        char* redirect = nullptr;
        if (curl_easy_getinfo(handle, CURLINFO_REDIRECT_URL, &redirect) == CURLE_OK &&
            redirect != nullptr) {
            answer.redirect = redirect;
        }
        answer.entityTag = HeaderOf(handle, "ETag");
        answer.lastModified = HeaderOf(handle, "Last-Modified");
        answer.contentEncoding = HeaderOf(handle, "Content-Encoding");
    }

    const std::string m_certificates;
    Handle m_handle;
};

} // namespace

std::unique_ptr<IHttpFetcher> MakeHttpFetcher(const std::string& certificates) {
    return std::make_unique<CHttpFetcher>(certificates);
}

} // namespace Nax::FrontEnd::XMLDB
