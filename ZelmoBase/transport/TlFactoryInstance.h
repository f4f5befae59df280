// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// The one factory of the process: how the library's start and stop make it and end it. Everybody else reaches it by
/// CTlFactory::GetInstance. Threads: Create and Destroy under the init lock.
class CTlFactoryInstance {
public:
    /// Makes the factory, which reads the device filter, and then publishes it. @throws what the factory's constructor
    /// throws.
    static void Create();

    /// Deletes the factory, which ends the transport layers and unloads the plug-ins, and then takes it out of
    /// GetInstance: while they end, plug-ins can still reach it. Harmless without one.
    static void Destroy() noexcept;
};

} // namespace Zelmo
