// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/BufferData.h"

#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>

#include <cstdint>
#include <memory>

namespace Zelmo {

/// A result on its way from the stream grabber to the application.
struct CQueueEntry : GrabResult {
    std::shared_ptr<CBufferData> bufferReference; // the buffer's self reference, while it was queued
    std::uint64_t id = 0;                         // counts delivered results; stays 0 for a cancelled one
};

} // namespace Zelmo
