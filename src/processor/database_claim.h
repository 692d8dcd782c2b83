// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// Which connection of the process makes the database that all processors share, so that no other
/// thread takes the file from under it; and which rules processor fills its results.
///
/// A claim holds from the making of the database until its connection is closed, or until the
/// thread that took it has ended. Other processors of the same thread are never refused: there,
/// nothing happens at the same time. Also guards the database's name. May be used from any thread.
class CDatabaseClaim {
public:
    static CDatabaseClaim& OfProcess();
    static CDatabaseClaim& OfRules();

    /// Sets `name` to `path`, for a connection that is about to open it. With `making` the
    /// connection takes the claim. False, with nothing changed, while another thread has the claim
    /// and would lose its file or its name.
    bool Enter(const void* connection, bool making, const std::string& path, std::string& name);
    /// Takes the claim for a holder without a name, or again; false while another thread has it.
    bool Take(const void* holder);
    void Leave(const void* connection);
    std::string Read(const std::string& name) const;

private:
    bool IsHeldElsewhere(const void* connection) const;

    mutable std::mutex m_mutex;
    const void* m_connection = nullptr;
    std::weak_ptr<const bool> m_thread; ///< lives as long as the thread
};

} // namespace Nax::FrontEnd::XMLDB
