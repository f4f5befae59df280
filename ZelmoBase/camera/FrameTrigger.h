// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace Zelmo {

class CAttachedDevice;

/// Whether a camera is ready for the next frame trigger, and the software trigger itself.
/// Threads: with the camera lock held.
class CFrameTrigger {
public:
    explicit CFrameTrigger(const CAttachedDevice& device) noexcept : m_device(device) {}

    bool CanWait() const;
    /// @return whether it is ready; false when the time is up. @throws GenICam::RuntimeException where it does not
    /// tell.
    bool WaitReady(unsigned timeoutMs) const;
    /// @throws GenICam::RuntimeException without the command and while it is not available.
    void Execute() const;

private:
    std::function<bool()> GetTest() const;

    const CAttachedDevice& m_device;
};

} // namespace Zelmo
