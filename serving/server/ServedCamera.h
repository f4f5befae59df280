// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraPort.h"

#include <serving/Device.h>
#include <serving/Faults.h>
#include <serving/Stream.h>
#include <serving/Ticks.h>

#include "core/Camera.h"

#include <memory>
#include <span>
#include <string>

namespace Serving {

class CRateBudgets;
class CStreamChannel;

/// What all cameras of a process are served with.
struct CServedSettings {
    const CServedDescription& description;
    std::span<const CFaultOrder> faults;
    std::uint32_t seed = 1; ///< of the first camera; the next ones count on
    bool allowRedirect = false;
};

/// What a camera has done since it is served.
struct CServedCounts {
    CControlCounts control;
    CStreamCounts stream;
    std::uint64_t heldBack = 0; ///< answers to clients without control
};

/// One simulated camera with all that puts it on the network.
/// Owns:    camera, stream, port and device.
/// Borrows: network, rate budgets, description.
/// Threads: the control thread.
class CServedCamera {
public:
    /// @throws CServeError when its address cannot be had.
    CServedCamera(std::uint32_t number, const CAddressing& addressing, const CServedSettings& settings,
                  CServingNetwork& network, CRateBudgets& rates);
    ~CServedCamera();

    const std::string& SerialNumber() const { return m_serialNumber; }
    CDevice& Device() { return *m_device; }
    CCameraPort& Port() { return m_port; }
    CServingFaults& Faults() { return m_faults; }
    CServedCounts Counts() const;

    void Stop() noexcept; ///< Commands are not heard any more, and the stream is closed.

private:
    CamEmu::CCamera m_camera;
    CTicks m_ticks;
    CServingFaults m_faults;
    CCameraPort m_port;
    std::unique_ptr<CStreamChannel> m_stream;
    std::unique_ptr<CDevice> m_device; // last: it uses all of the above
    std::string m_serialNumber;
};

} // namespace Serving
