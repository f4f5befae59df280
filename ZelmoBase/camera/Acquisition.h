// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

class IZelmoDevice;

/// Starts and stops the acquisition of a camera by its features.
/// Threads: any; Stop also on the engine thread, which never takes the camera lock. Locks: that of the device's node
/// map, which guards whether the camera owes a stop.
class CAcquisition {
public:
    /// Executes "AcquisitionStart", if the device has it and lets it be written; a stop is owed either way.
    /// @throws what the device throws; no stop is owed then.
    void Start(IZelmoDevice& device);

    /// Executes "AcquisitionStop" likewise, if a stop is owed. What the device throws is logged with @p known or
    /// @p unknown.
    void Stop(IZelmoDevice& device, const char* known, const char* unknown) noexcept;

private:
    bool m_started = false; // guarded by the lock of the device's node map
};

} // namespace Zelmo
