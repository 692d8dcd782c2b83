// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/resource.h>

#include <csignal>

/// Lets writes beyond `bytes` of any file fail, as a full disk would, while it lives.
class CWriteLimit {
public:
    explicit CWriteLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_earlier);
        rlimit limit = m_earlier;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    CWriteLimit(const CWriteLimit&) = delete;
    CWriteLimit& operator=(const CWriteLimit&) = delete;
    ~CWriteLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_earlier);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_earlier = {};
    void (*m_handler)(int);
};
