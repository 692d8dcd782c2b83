// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reading files from web servers. For programs; not part of the library, which never touches a
// network.
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Nax::FrontEnd::XMLDB {

struct SHttpRequest {
    std::string url;
    std::size_t maxSize = 0; ///< bytes of the body
    std::chrono::milliseconds timeout{0};
    std::string entityTag;    ///< of a copy at hand; empty without one
    std::string lastModified; ///< the same
};

enum class HttpOutcome {
    Answered, ///< `status` tells how
    NoAnswer, ///< the network or the server failed: another time it may answer
    Refused,  ///< what was found is not to be trusted or not to be used
};

struct SHttpAnswer {
    HttpOutcome outcome = HttpOutcome::NoAnswer;
    std::string reason; ///< when there is no answer
    long status = 0;
    std::string redirect; ///< absolute URL; empty when the answer is no redirect
    std::string entityTag;
    std::string lastModified;
    std::string contentEncoding;
    std::string body;
};

/// Asks web servers. One thread at a time per object.
class IHttpFetcher {
public:
    virtual ~IHttpFetcher() = default;
    /// One request by GET; redirects are told, not followed. Certificates and host names are
    /// checked. No encoding of the body is asked for, and none is undone.
    virtual SHttpAnswer Fetch(const SHttpRequest& request) = 0;
};

/// `certificates` names a file of further authorities to trust (PEM); may be empty. Proxies are
/// those of the environment (`http_proxy`, `https_proxy`, `all_proxy`, `no_proxy`).
std::unique_ptr<IHttpFetcher> MakeHttpFetcher(const std::string& certificates);

} // namespace Nax::FrontEnd::XMLDB
