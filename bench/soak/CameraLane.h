// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SoakLane.h"

#include <zelmo/zelmo.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace soak {

/// One emulated camera, grabbed from by a loop of the application or by that of the camera object. After every 50,000
/// images, or fewer in a short run, it is removed; it comes back, is opened by its serial number, gets its settings
/// again, and goes on. Each life must give just the images that the camera began in it, one after the other.
class CameraLane {
public:
    CameraLane(const std::string& serialNumber, Zelmo::EGrabLoop loop);

    /// Until at least @p frames images have come. @throws what grabbing throws, std::runtime_error when no image comes.
    void Run(std::uint64_t frames);

    std::uint64_t GetFrames() const noexcept { return m_frames; } ///< So far; any thread.
    std::uint64_t GetRemovals() const noexcept { return m_removals; }
    const Account& GetAccount() const noexcept { return m_account; }

private:
    void Set(const char* name, const char* value);
    void Live(std::uint64_t frames);
    void Take();
    void AwaitSilence();
    void Audit(const Zelmo::CGrabResultPtr& result);

    const Zelmo::EGrabLoop m_loop;
    Account m_account;
    std::atomic<std::uint64_t> m_frames{0};
    std::uint64_t m_removals = 0;
    std::uint64_t m_nextId = 0; // of the life
    bool m_isFirst = true;
    std::atomic<bool> m_isRemoved{false};
    Zelmo::CInstantCamera m_camera;
    Zelmo::CHandlerRegistration m_removal;
    Zelmo::CHandlerRegistration m_images;
};

} // namespace soak
