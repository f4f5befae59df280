// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace Gige {

/// The camera's side of the search. Sizes in bytes, with the headers of IP and UDP.
struct CPacketSizeProbe {
    /// Sets the size. @return the one that the camera then has; nullopt when it refuses
    std::function<std::optional<std::uint32_t>(std::uint32_t size)> set;
    /// Whether a test packet of the size that is set arrives, of several.
    std::function<bool(std::uint32_t size)> arrives;
};

/// Finds the largest packets that arrive: from @p limit down, each size once. The camera is left with what was found.
/// @return nullopt when none arrives at any size
std::optional<std::uint32_t> FindPacketSize(std::uint32_t limit, const CPacketSizeProbe& probe);

/// The largest size that is ever tried: never beyond what the interface takes in one piece, as cameras send fragments
/// then, which pass the test and are slow.
constexpr std::uint32_t PacketSizeLimit(std::uint32_t mtu) {
    constexpr std::uint32_t kLargest = 16000, kStep = 4;
    return (mtu < kLargest ? mtu : kLargest) / kStep * kStep;
}

/// Smaller packets are not taken: what heads them leaves too little room for an image.
constexpr std::uint32_t kLeastPacketSize = 128;

} // namespace Gige
