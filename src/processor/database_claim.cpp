// SPDX-License-Identifier: Apache-2.0
#include "processor/database_claim.h"

namespace Nax::FrontEnd::XMLDB {

namespace {

/// Ids of threads are given again to later threads; this is the calling thread's alone.
const std::shared_ptr<const bool>& ThisThread() {
    thread_local const std::shared_ptr<const bool> token = std::make_shared<const bool>(true);
    return token;
}

} // namespace

CDatabaseClaim& CDatabaseClaim::OfProcess() {
    static CDatabaseClaim claim;
    return claim;
}

CDatabaseClaim& CDatabaseClaim::OfRules() {
    static CDatabaseClaim claim;
    return claim;
}

bool CDatabaseClaim::IsHeldElsewhere(const void* connection) const {
    const std::shared_ptr<const bool> holder = m_thread.lock();
    return m_connection != nullptr && m_connection != connection && holder != nullptr &&
           holder != ThisThread();
}

bool CDatabaseClaim::Enter(const void* connection, bool making, const std::string& path,
                           std::string& name) {
    const std::lock_guard lock(m_mutex);
    if (IsHeldElsewhere(connection) && (making || path != name)) {
        return false;
    }
    if (making) {
        m_connection = connection;
        m_thread = ThisThread();
    }
    if (path != name) {
        name = path;
    }
    return true;
}

bool CDatabaseClaim::Take(const void* holder) {
    std::string none;
    return Enter(holder, true, none, none);
}

void CDatabaseClaim::Leave(const void* connection) {
    const std::lock_guard lock(m_mutex);
    if (m_connection == connection) {
        m_connection = nullptr;
    }
}

std::string CDatabaseClaim::Read(const std::string& name) const {
    const std::lock_guard lock(m_mutex);
    return name;
}

} // namespace Nax::FrontEnd::XMLDB
