// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace Nax::FrontEnd::XMLDB {

/// Runs jobs on threads of their own and waits for them.
///
/// Owns its threads; destruction waits for those that are still running. Jobs are started and
/// awaited by one thread at a time. When no thread can be had, Start raises std::system_error and
/// the threads started before go on.
class CThreadLimiter {
public:
    /// The limit is twelve times the number of hardware threads.
    CThreadLimiter();
    CThreadLimiter(const CThreadLimiter&) = delete;
    CThreadLimiter& operator=(const CThreadLimiter&) = delete;
    ~CThreadLimiter();

    /// Lets at least `count` threads run at once.
    void RaiseLimit(std::size_t count);
    std::size_t GetLimit() const;
    /// Waits for the oldest thread first when as many as the limit are running.
    void Start(std::function<void()> job);
    void JoinAll();

private:
    mutable std::mutex m_mutex;
    std::size_t m_limit;
    std::list<std::shared_ptr<std::thread>> m_threads;
};

} // namespace Nax::FrontEnd::XMLDB
