// SPDX-License-Identifier: Apache-2.0
#include "stream/PacketSize.h"

#include <algorithm>
#include <vector>

namespace Gige {

std::optional<std::uint32_t> FindPacketSize(std::uint32_t limit, const CPacketSizeProbe& probe) {
    std::vector<std::uint32_t> tried; // sizes that the camera really had: it may choose another than it was told
    for (const std::uint32_t candidate : {limit, 8192u, 4096u, 1500u, 1400u, 576u}) {
        if (candidate > limit) {
            continue;
        }
        const std::optional<std::uint32_t> size = probe.set(candidate);
        if (!size || *size > limit || std::ranges::find(tried, *size) != tried.end()) {
            continue;
        }
        if (probe.arrives(*size)) {
            return size;
        }
        tried.push_back(*size);
    }
    return std::nullopt;
}

} // namespace Gige
