// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Nax::FrontEnd::XMLDB {

/// Makes the XML libraries allocate through functions that remember a failure and then serve from a
/// reserve. They do not survive every null pointer, and where they survive one they may leave
/// something out without a word: with the reserve they come to their end in an orderly way, and
/// what they made is thrown away because of the remembered failure. Called once, before their
/// initialisation; blocks from before may be freed afterwards.
void InstallXmlMemory() noexcept;

/// Tells whether an allocation of the XML libraries has failed on this thread since it was made.
class CXmlMemoryWatch {
public:
    CXmlMemoryWatch() noexcept;
    bool HasFailed() const noexcept;
    void ThrowIfFailed() const; ///< std::bad_alloc

private:
    std::uint64_t m_before;
};

} // namespace Nax::FrontEnd::XMLDB
