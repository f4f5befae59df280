// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EventSource.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace CamEmu {

inline constexpr std::uint16_t kFirstEventId = 0x9001; ///< of the first EEvent, as in CamEmu.xml
inline constexpr std::size_t kEventMessageBytes = 32;

/// The event as GigE Vision sends it: an event command of one item with extended ids, big endian, without a wish to be
/// acknowledged. @p requestId numbers the messages.
void EncodeEvent(const CEvent& event, std::uint16_t requestId, std::span<std::uint8_t, kEventMessageBytes> message);

} // namespace CamEmu
