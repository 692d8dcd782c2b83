// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "include_resolver.h"
#include "platform/host_files.h"
#include "platform/http_fetcher.h"
#include "platform/url.h"
#include "remote_cache.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace LandscapeValidator {

/// A file that a server sent, or why there is none.
struct SFetchedFile {
    std::string failure;       ///< empty when there is a file
    std::string path;          ///< a local copy; exists until the next file is fetched
    std::string foundUrl;      ///< where it was, after redirects
    std::string foundIdentity; ///< the same as a key
    std::string remark;        ///< what a reader of the report must know of it; may be empty
    std::string age;           ///< end of the remark that is another one in the next run
};

/// Fetches included files, within the limits of the options, and keeps copies in the cache, which
/// serve when a server does not answer.
///
/// A redirect is followed to https:, and to http: from http: only. A file that the server says is
/// not there is not served from the cache. One thread at a time per object.
class CRemoteIncludes {
public:
    CRemoteIncludes(const SIncludeOptions& options,
                    std::unique_ptr<Nax::FrontEnd::XMLDB::IHttpFetcher> fetcher);

    SFetchedFile Fetch(const std::string& url);

private:
    using Clock = std::chrono::steady_clock;
    using Answer = Nax::FrontEnd::XMLDB::SHttpAnswer;

    Answer Ask(Nax::FrontEnd::XMLDB::SUrl& url, const std::optional<SCachedFile>& cached);
    Answer AskOnce(const Nax::FrontEnd::XMLDB::SUrl& url, const std::optional<SCachedFile>& cached,
                   Clock::time_point deadline);
    std::string WhyTooLarge(const SCachedFile& cached) const;
    SFetchedFile UseCopy(const std::optional<SCachedFile>& cached,
                         const Nax::FrontEnd::XMLDB::SUrl& asked, const std::string& reason);
    void Store(const std::string& url, const Answer& answer, SFetchedFile& file);
    SFetchedFile WriteCopy(SFetchedFile file, const std::string& body);

    const SIncludeOptions m_options;
    std::unique_ptr<Nax::FrontEnd::XMLDB::IHttpFetcher> m_fetcher;
    CRemoteCache m_cache;
    std::unique_ptr<Nax::FrontEnd::XMLDB::IScratchFolder> m_scratch;
};

} // namespace LandscapeValidator
