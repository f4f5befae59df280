// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

namespace Gige {

/// What the kernel charges for datagrams of that size, and so the room that @p datagrams of them need: not their bytes,
/// but whole buffers of its own.
constexpr std::uint64_t KernelBytes(std::uint64_t datagrams, std::uint32_t packetSize) {
    return datagrams * 2 * (std::uint64_t{packetSize} + 1024);
}

/// The most that is asked for unless the user says more: twice the net.core.rmem_max that 'zelmo doctor' advises, as
/// the kernel doubles it.
inline constexpr std::uint64_t kMostRoomBytes = 128 << 20;

/// Memory of the kernel for packets that were not fetched yet, by the kernel's own count.
struct CSocketRoom {
    std::uint64_t wantedBytes; ///< For eight images, while the receive thread is not scheduled.
    std::uint64_t neededBytes; ///< For two: with less, images are lost on a host that is not busy.
};

constexpr CSocketRoom RoomForImagesOf(std::uint64_t packets, std::uint32_t packetSize) {
    constexpr std::uint64_t kLeastWanted = 16 << 20, kLeastNeeded = 4 << 20;
    return {std::clamp(KernelBytes(8 * packets, packetSize), kLeastWanted, kMostRoomBytes),
            std::clamp(KernelBytes(2 * packets, packetSize), kLeastNeeded, kMostRoomBytes)};
}

} // namespace Gige
