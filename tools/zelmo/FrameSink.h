// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/GrabResultData.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace tool {

/// What is done with the images of one camera. Called on the thread that grabs from it, which waits meanwhile.
class FrameSink {
public:
    virtual ~FrameSink() = default;

    /// An image came whole; @p number counts from 1 on, failed ones included.
    /// @throws ToolError: "incomplete" makes it a failed one, any other ends the grab.
    virtual void OnImage(const Zelmo::CGrabResultData& result, std::uint64_t number) = 0;

    /// An image came damaged, or OnImage found it incomplete.
    virtual void OnFailed(const Zelmo::CGrabResultData& result, std::uint64_t number, const std::string& why) = 0;
};

/// Bytes of the buffer that hold data; all of them when the transport layer does not tell.
inline std::size_t GetFilledBytes(const Zelmo::CGrabResultData& result) {
    const std::uint64_t told = result.GetPayloadSize();
    return told == 0 ? result.GetBufferSize() : std::min(told, result.GetBufferSize());
}

} // namespace tool
