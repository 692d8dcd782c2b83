// SPDX-License-Identifier: Apache-2.0
#include "rules/thread_limiter.h"

#include <algorithm>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t kThreadsPerProcessor = 12;
constexpr std::size_t kUnknownProcessors = 2;

} // namespace

CThreadLimiter::CThreadLimiter() {
    const std::size_t processors = std::thread::hardware_concurrency();
    m_limit = kThreadsPerProcessor * (processors == 0 ? kUnknownProcessors : processors);
}

CThreadLimiter::~CThreadLimiter() {
    JoinAll();
}

void CThreadLimiter::RaiseLimit(std::size_t count) {
    const std::lock_guard lock(m_mutex);
    m_limit = std::max(m_limit, count);
}

std::size_t CThreadLimiter::GetLimit() const {
    const std::lock_guard lock(m_mutex);
    return m_limit;
}

void CThreadLimiter::Start(std::function<void()> job) {
    const std::lock_guard lock(m_mutex);
    if (m_threads.size() >= m_limit) {
        m_threads.front()->join();
        m_threads.pop_front();
    }
    // The place first: a running thread that is in no list could not be joined.
    m_threads.push_back(nullptr);
    try {
        m_threads.back() = std::make_shared<std::thread>(std::move(job));
    } catch (...) {
        m_threads.pop_back();
        throw;
    }
}

void CThreadLimiter::JoinAll() {
    const std::lock_guard lock(m_mutex);
    while (!m_threads.empty()) {
        m_threads.front()->join();
        m_threads.pop_front();
    }
}

} // namespace Nax::FrontEnd::XMLDB
