// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraLink.h"
#include "core/Camera.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace CamEmu {

/// A simulated camera and who holds it, within the process.
struct CPoolCamera {
    explicit CPoolCamera(std::uint32_t number) : camera(number) {}

    CCamera camera;
    CCameraLink link{camera};
    std::atomic<bool> isStreaming = false; ///< some stream grabber is open
};

inline constexpr std::size_t kMaxCameras = 256;

/// The camera of that number, below maxCameras. Made at first need and alive until the process ends, as a camera on
/// the wall goes on while programs come and go: its user-defined name outlives the library's termination.
/// Threads: any.
CPoolCamera& PoolCamera(std::size_t number);

/// How many cameras the environment variable ZELMO_CAMEMU asks for; 0 when it is unset. What is no number up to
/// maxCameras counts as 0 and is logged as an error.
std::size_t WantedCameras();

} // namespace CamEmu
