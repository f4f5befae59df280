// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "StreamCounts.h"

#include <cstdint>
#include <string>

namespace tool {

/// What became of the images of one camera.
struct GrabCounts {
    std::uint64_t frames = 0;  ///< Delivered whole.
    std::uint64_t failed = 0;  ///< Delivered damaged or incomplete.
    std::uint64_t lost = 0;    ///< Never delivered: gaps in the block ids that nothing else explains.
    std::uint64_t skipped = 0; ///< Passed over, as the strategy asks for.
    std::uint64_t bytes = 0;   ///< Of the frames.
    double seconds = 0;        ///< From the start of the camera on.

    double GetFramesPerSecond() const { return seconds > 0 ? static_cast<double>(frames) / seconds : 0; }
    double GetMegabytesPerSecond() const { return seconds > 0 ? static_cast<double>(bytes) / 1e6 / seconds : 0; }
};

/// What hints at why images are missing.
struct LossClues {
    double busySeconds = 0;           ///< In which whoever retrieves waited for images to be written.
    StreamCounts stream;              ///< As far as it tells.
    std::uint64_t packetBytes = 0;    ///< Of the stream; 0: not known, likewise the next one.
    std::uint64_t ticksPerSecond = 0; ///< Of the camera's clock.
    std::string firstFailure;         ///< Of a damaged image, in words.
};

} // namespace tool
