// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraLink.h"
#include "common/RemovalWatch.h"
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
    std::atomic<bool> isStreaming = false;          ///< some stream grabber is open
    std::atomic<std::uint32_t> failedOpenCount = 1; ///< what ForceFailedOpen is to make fail
    CCountdown failingOpens;
    std::atomic<std::uint32_t> failedDownloadCount = 1; ///< what ForceFailedDownload is to make fail
    CCountdown failingDownloads;
    PluginKit::CEndedThreads endedWatches; ///< of device objects that were closed in a removal callback
};

inline constexpr std::size_t kMaxCameras = 1000;

/// How many cameras the environment variable ZELMO_CAMEMU asks for; 0 when it is unset. What is no number up to
/// maxCameras counts as 0 and is logged as an error.
std::size_t WantedCameras();

} // namespace CamEmu
