// SPDX-License-Identifier: Apache-2.0
#include "EventMessage.h"

#include "BigEndian.h"

namespace CamEmu {

namespace {

constexpr std::uint8_t kMagic = 0x42, kExtendedIds = 0x10;
constexpr std::uint16_t kEventCommand = 0x00C0;
constexpr std::size_t kHeaderBytes = 8;

} // namespace

void EncodeEvent(const CEvent& event, std::uint16_t requestId, std::span<std::uint8_t, kEventMessageBytes> message) {
    std::uint8_t* const header = message.data();
    header[0] = kMagic;
    header[1] = kExtendedIds;
    PutBigEndian(kEventCommand, header + 2);
    PutBigEndian(static_cast<std::uint16_t>(kEventMessageBytes - kHeaderBytes), header + 4);
    PutBigEndian(requestId, header + 6);
    std::uint8_t* const item = header + kHeaderBytes;
    PutBigEndian(std::uint16_t{0}, item); // reserved
    PutBigEndian(static_cast<std::uint16_t>(kFirstEventId + static_cast<std::uint16_t>(event.kind)), item + 2);
    PutBigEndian(std::uint16_t{0}, item + 4); // stream channel
    PutBigEndian(std::uint16_t{0}, item + 6); // the short block id, which extended ones replace
    PutBigEndian(event.frame, item + 8);
    PutBigEndian(static_cast<std::uint64_t>(event.timestampNs), item + 16);
}

} // namespace CamEmu
