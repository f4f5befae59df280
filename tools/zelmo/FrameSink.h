// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/GrabResultData.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

namespace tool {

/// What is left to do with one image when the thread that grabs has let go of it.
class FrameTask {
public:
    virtual ~FrameTask() = default;

    /// Called for a whole image, on any thread, at the same time as for other images.
    /// @throws ToolError: "incomplete" makes it a failed one, any other ends the grab.
    virtual void Work() = 0;

    /// Called afterwards, image by image in their order. @param failure why the image failed; null for a whole one.
    virtual void Tell(const std::string* failure) = 0;
};

/// What is done with the images of one camera.
class FrameSink {
public:
    virtual ~FrameSink() = default;

    /// An image came, maybe a failed one; @p number counts them from 1 on. Called on the thread that grabs, which waits
    /// meanwhile. @return null when nothing is left to do.
    virtual std::unique_ptr<FrameTask> Take(const Zelmo::CGrabResultData& result, std::uint64_t number) = 0;
};

/// Bytes of the buffer that hold data; all of them when the transport layer does not tell.
inline std::size_t GetFilledBytes(const Zelmo::CGrabResultData& result) {
    const std::uint64_t told = result.GetPayloadSize();
    return told == 0 ? result.GetBufferSize() : std::min(told, result.GetBufferSize());
}

} // namespace tool
