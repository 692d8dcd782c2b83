// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Nax::FrontEnd::XMLDB {

/// Gives libcrypto, which libzip and libcurl use, the reserve of ReserveMemory: it calls through
/// null pointers after a failed allocation in its own initialisation. To be called before each
/// first use of these libraries. A process that has used libcrypto before keeps the allocator it
/// has.
void InstallCryptoMemory() noexcept;

} // namespace Nax::FrontEnd::XMLDB
