// SPDX-License-Identifier: Apache-2.0
#include "remote_includes.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <utility>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::HttpOutcome;
using Nax::FrontEnd::XMLDB::ParseUrl;
using Nax::FrontEnd::XMLDB::SHttpRequest;
using Nax::FrontEnd::XMLDB::SUrl;

namespace {

constexpr int kMaxRedirects = 5;
constexpr long kNotModified = 304;
constexpr long kServerFaults = 500;

/// Other answers of success, such as 204 and 206, bring nothing or a part, which must not replace
/// a copy in the cache.
bool IsWholeFile(long status) {
    constexpr long kOk = 200;
    constexpr long kFromProxy = 203;
    return status == kOk || status == kFromProxy;
}

std::string AgeOf(std::int64_t fetched) {
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    constexpr std::int64_t kDay = 24 * kHour;
    const std::int64_t age = std::max<std::int64_t>(0, std::time(nullptr) - fetched);
    const auto text = [age](std::int64_t unit, const char* name) {
        return fmt::format("{} {}{}", age / unit, name, age / unit == 1 ? "" : "s");
    };
    return age >= 2 * kDay      ? text(kDay, "day")
           : age >= 2 * kHour   ? text(kHour, "hour")
           : age >= 2 * kMinute ? text(kMinute, "minute")
                                : text(1, "second");
}

Nax::FrontEnd::XMLDB::SHttpAnswer Failed(HttpOutcome outcome, const std::string& reason) {
    Nax::FrontEnd::XMLDB::SHttpAnswer answer;
    answer.outcome = outcome;
    answer.reason = reason;
    return answer;
}

/// Why an answer gives no file, other than by its status; empty when nothing speaks against it.
std::string WhyUnusable(const Nax::FrontEnd::XMLDB::SHttpAnswer& answer) {
    const std::string& encoding = answer.contentEncoding;
    return encoding.empty() || encoding == "identity"
               ? std::string()
               : "the server sent it with the content encoding '" + encoding +
                     "', which was not asked for";
}

} // namespace

CRemoteIncludes::CRemoteIncludes(const SIncludeOptions& options,
                                 std::unique_ptr<Nax::FrontEnd::XMLDB::IHttpFetcher> fetcher)
    : m_options(options),
      m_fetcher(std::move(fetcher)),
      m_cache(options.cacheFolder.empty() ? DefaultRemoteCacheFolder() : options.cacheFolder) {}

SFetchedFile CRemoteIncludes::Fetch(const std::string& text) {
    SFetchedFile file;
    const std::optional<SUrl> asked = ParseUrl(text);
    if (!asked) {
        file.failure = "its URL is not valid";
        return file;
    }
    const std::optional<SCachedFile> cached = m_cache.Find(asked->shown);
    SUrl url = *asked;
    const Answer answer = Ask(url, cached);
    if (answer.outcome == HttpOutcome::NoAnswer) {
        return UseCopy(cached, *asked, answer.reason);
    }
    if (answer.outcome == HttpOutcome::Refused) {
        file.failure = answer.reason;
        return file;
    }
    file.foundUrl = url.full;
    file.foundIdentity = url.shown;
    if (answer.status == kNotModified && cached && cached->foundUrl == url.shown) {
        file.failure = WhyTooLarge(*cached);
        return file.failure.empty() ? WriteCopy(file, cached->body) : file;
    }
    const std::string status = fmt::format("the server answered with the status {}", answer.status);
    if (answer.status >= kServerFaults) {
        return UseCopy(cached, *asked, status);
    }
    file.failure = IsWholeFile(answer.status) ? WhyUnusable(answer) : status;
    if (file.failure.empty()) {
        Store(asked->shown, answer, file);
        return WriteCopy(file, answer.body);
    }
    return file;
}

CRemoteIncludes::Answer CRemoteIncludes::Ask(SUrl& url, const std::optional<SCachedFile>& cached) {
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(m_options.timeout);
    for (int redirects = 0; redirects <= kMaxRedirects; ++redirects) {
        Answer answer = AskOnce(url, cached, deadline);
        if (answer.outcome != HttpOutcome::Answered || answer.redirect.empty() ||
            answer.status == kNotModified) {
            return answer;
        }
        const std::optional<SUrl> next = ParseUrl(answer.redirect);
        const bool secure = next && next->scheme == "https";
        if (!secure && (!next || next->scheme != "http" || url.scheme == "https")) {
            return Failed(
                HttpOutcome::Refused,
                fmt::format("the server redirects to '{}', which is not followed from {}",
                            next ? next->shown : WithoutUserInfo(answer.redirect), url.scheme));
        }
        url = *next;
    }
    return Failed(HttpOutcome::Refused, fmt::format("there are more than {} redirects, the last to "
                                                    "'{}'",
                                                    kMaxRedirects, url.shown));
}

CRemoteIncludes::Answer CRemoteIncludes::AskOnce(const SUrl& url,
                                                 const std::optional<SCachedFile>& cached,
                                                 Clock::time_point deadline) {
    SHttpRequest request;
    request.url = url.full;
    request.maxSize = m_options.maxSize;
    request.timeout =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (request.timeout.count() <= 0) { // to the fetcher, 0 would be no limit
        return Failed(HttpOutcome::NoAnswer,
                      fmt::format("it took more than {} seconds", m_options.timeout));
    }
    // Only the server that sent the copy can say that it is still the same.
    if (cached && cached->foundUrl == url.shown) {
        request.entityTag = cached->entityTag;
        request.lastModified = cached->lastModified;
    }
    return m_fetcher->Fetch(request);
}

std::string CRemoteIncludes::WhyTooLarge(const SCachedFile& cached) const {
    return cached.body.size() <= m_options.maxSize
               ? std::string()
               : fmt::format("the copy in the cache is larger than the limit of {} bytes",
                             m_options.maxSize);
}

SFetchedFile CRemoteIncludes::UseCopy(const std::optional<SCachedFile>& cached, const SUrl& asked,
                                      const std::string& reason) {
    SFetchedFile file;
    if (!cached) {
        file.failure = reason + ", and the cache holds no copy";
        return file;
    }
    if (const std::string tooLarge = WhyTooLarge(*cached); !tooLarge.empty()) {
        file.failure = reason + ", and " + tooLarge;
        return file;
    }
    // The copy does not hold user name and password; where nothing was redirected they still fit.
    file.foundUrl = cached->foundUrl == asked.shown ? asked.full : cached->foundUrl;
    file.foundIdentity = cached->foundUrl;
    file.remark =
        fmt::format("The server did not send the file: {}. The copy in the cache was read", reason);
    file.age = fmt::format("; it was fetched {} ago.", AgeOf(cached->fetched));
    return WriteCopy(file, cached->body);
}

void CRemoteIncludes::Store(const std::string& url, const Answer& answer, SFetchedFile& file) {
    SCachedFile copy;
    copy.foundUrl = file.foundIdentity;
    copy.entityTag = answer.entityTag;
    copy.lastModified = answer.lastModified;
    copy.fetched = std::time(nullptr);
    copy.body = answer.body;
    std::string message;
    if (!m_cache.Store(url, copy, message)) {
        file.remark =
            "The file was fetched, but no copy could be kept in the cache: " + message + ".";
    }
}

SFetchedFile CRemoteIncludes::WriteCopy(SFetchedFile file, const std::string& body) {
    std::string message;
    if (!m_scratch) {
        m_scratch = Nax::FrontEnd::XMLDB::MakeScratchFolder(message);
    }
    if (m_scratch) {
        file.path = m_scratch->GetPath() + "/fetched.xml";
        std::ofstream out(file.path, std::ios::binary | std::ios::trunc);
        out << body;
        if (out.close(), out) {
            return file;
        }
        message = "the disk is full or not writable";
    }
    file.path.clear();
    file.failure = "its temporary copy cannot be written: " + message;
    return file;
}

} // namespace LandscapeValidator
