// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace tool {

/// Counts images that were lost on the way from the gaps between block ids.
class LossCounter {
public:
    /// @param blockId of the next image; all ones: the camera does not count.
    /// @param skipped images that came since the last one and are known to be passed over.
    /// @return how many are missing before the image beyond those.
    std::uint64_t Add(std::uint64_t blockId, std::uint64_t skipped = 0) {
        if (blockId == kNotCounted) {
            return 0;
        }
        const std::uint64_t missing = m_last == kNotCounted ? 0 : GapTo(blockId);
        m_last = blockId;
        return missing > skipped ? missing - skipped : 0;
    }

private:
    static constexpr std::uint64_t kNotCounted = ~std::uint64_t{0};
    static constexpr std::uint64_t kLargest16 = 0xFFFF; // GigE Vision 1: 16 bits, and 0 is left out

    std::uint64_t GapTo(std::uint64_t blockId) const {
        if (blockId > m_last) {
            return blockId - m_last - 1;
        }
        const bool wrapped = m_last <= kLargest16 && m_last - blockId > kLargest16 / 2;
        return wrapped ? kLargest16 - m_last + (blockId > 0 ? blockId - 1 : 0) : 0; // else the camera began anew
    }

    std::uint64_t m_last = kNotCounted;
};

} // namespace tool
