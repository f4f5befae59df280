// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/ConfigFileRegistry.h>

namespace Zelmo {

/// The one registry of the process: how it is made, and how the library's stop ends it. Everybody else reaches it by
/// CConfigFileRegistry::GetInstance. Threads: any; a registry that is ended must not be in use.
class CConfigFileRegistryInstance {
public:
    /// Makes it if there is none. @throws what reading the rules throws; then there still is none.
    static CConfigFileRegistry& Get();

    /// Harmless without one. The next use reads all rules anew.
    static void Destroy() noexcept;
};

} // namespace Zelmo
