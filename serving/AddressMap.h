// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Serving {

/// Where a served camera has what, behind the bootstrap registers. The build step that writes the served description
/// (describe.py) reads them here.
namespace Address {
inline constexpr std::uint32_t kCamera = 0x00010000;  ///< added to the addresses of the camera's own registers
inline constexpr std::uint32_t kRemoval = 0x00210000; ///< command SimulateRemoval
/// Faults, all big endian: selector (4 bytes), seed (4), reset (4, command).
inline constexpr std::uint32_t kFaultSelector = 0x00020000;
inline constexpr std::uint32_t kFaultSeed = 0x00020004;
inline constexpr std::uint32_t kFaultReset = 0x00020008;
/// One group for each fault, in the order of Faults.def.
inline constexpr std::uint32_t kFault = 0x00020100;
inline constexpr std::uint32_t kFaultStride = 0x20;
inline constexpr std::uint32_t kFaultRate = 0x00;       ///< double, 0 (off) to 1
inline constexpr std::uint32_t kFaultParameter = 0x08;  ///< unsigned 32 bit, as the next three
inline constexpr std::uint32_t kFaultLeft = 0x0C;       ///< how many more times; 0: without end
inline constexpr std::uint32_t kFaultBlock = 0x10;      ///< only in this block; 0: in all
inline constexpr std::uint32_t kFaultPacket = 0x14;     ///< only at this packet id; 0xFFFFFFFF: at all
inline constexpr std::uint32_t kFaultCount = 0x18;      ///< unsigned 64 bit, read only: how often it was made
inline constexpr std::uint32_t kChunkForm = 0x00220000; ///< unsigned 32 bit, see EChunkForm
inline constexpr std::uint32_t kZippedDescription = 0x00400000;
inline constexpr std::uint32_t kTextDescription = 0x00500000;
} // namespace Address

} // namespace Serving
