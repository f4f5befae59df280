// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Zelmo {

class CGrabResultPtr;
class IZelmoDevice;

/// Decides per session how the data behind an image are parsed. Of it stands what a device without chunk mode needs:
/// results have no parser, and nothing in them is corrected.
/// Threads: with the camera lock held.
class CChunkParsingEngine {
public:
    void SetDevice(IZelmoDevice* device) noexcept { m_device = device; } ///< Null when it is let go of.
    /// @throws GenICam::LogicalErrorException for a chunk mode without a description to make node maps from.
    void Start(bool isChunkModeActive) const;
    void SetPoolSize(std::int64_t size) noexcept { m_poolSize = size; } ///< How many parsers are to be made ahead.

private:
    IZelmoDevice* m_device = nullptr; // borrowed
    std::int64_t m_poolSize = 0;
};

} // namespace Zelmo
