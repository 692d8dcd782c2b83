// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// One fault of a document. Lines and positions count from 1; 0 when there is no place.
struct SXmlFault {
    static constexpr std::size_t NoOffset = static_cast<std::size_t>(-1);

    int code = 0;
    std::string reason{};
    std::size_t offset = NoOffset; ///< in the document's stream of UTF-8 bytes
    std::string sourceText{};
    long line = 0;
    long position = 0;
};

/// The faults of one load: details of the first ones, the count of all.
struct SXmlFaultList {
    static constexpr std::size_t DetailLimit = 1000;

    std::string url;
    std::vector<SXmlFault> faults;
    std::size_t total = 0;

    /// Counts one fault; `make` gives its details when they are to be kept.
    template <class Make>
    void Add(const Make& make) {
        if (faults.size() < DetailLimit) {
            faults.push_back(make());
        }
        ++total;
    }
};

} // namespace Nax::FrontEnd::XMLDB
