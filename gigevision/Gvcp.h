// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Bytes.h"
#include "Status.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

/// The control protocol of GigE Vision, GVCP: messages to bytes and back. Nothing of the other side is trusted:
/// decoding answers nullopt when lengths, counts or fixed fields do not agree with each other and with the bytes that
/// came; bytes behind the told length are ignored. Decoded spans point into the datagram. Encoding answers the bytes
/// written, the front part of the given buffer; what does not fit the protocol's limits is the caller's fault and
/// asserted. Threads: any; no state.
namespace GigEVision {

inline constexpr std::uint16_t kGvcpPort = 3956;
inline constexpr std::size_t kGvcpHeaderBytes = 8;
inline constexpr std::size_t kMaxGvcpPayload = 540; ///< bytes behind the header
inline constexpr std::size_t kMaxMemoryBytes = 536; ///< of one READMEM or WRITEMEM
inline constexpr std::size_t kMaxReadRegisters = 135;
inline constexpr std::size_t kMaxWriteRegisters = 67;
inline constexpr std::size_t kDiscoveryBytes = 248; ///< registers 0x0000 to 0x00F7

using GvcpBuffer = std::array<std::uint8_t, kGvcpHeaderBytes + kMaxGvcpPayload>;

enum class Command : std::uint16_t {
    Discovery = 0x0002,
    ForceIp = 0x0004,
    PacketResend = 0x0040,
    ReadReg = 0x0080,
    WriteReg = 0x0082,
    ReadMem = 0x0084,
    WriteMem = 0x0086,
    Pending = 0x0088, ///< there is only its acknowledge, 0x0089
    Event = 0x00C0,
    EventData = 0x00C2,
    Action = 0x0100,
};
constexpr std::uint16_t AcknowledgeOf(std::uint16_t command) {
    return static_cast<std::uint16_t>(command + 1);
}
/// The request id behind it, which is never 0.
constexpr std::uint16_t NextRequestId(std::uint16_t id) {
    return id == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(id + 1);
}

namespace Flag {
inline constexpr std::uint8_t kAcknowledge = 0x01;          ///< one is wanted
inline constexpr std::uint8_t kBroadcastAcknowledge = 0x10; ///< DISCOVERY, FORCEIP
inline constexpr std::uint8_t kExtendedIds = 0x10;          ///< PACKETRESEND, EVENT, EVENTDATA
inline constexpr std::uint8_t kScheduled = 0x80;            ///< ACTION
} // namespace Flag

/// What every command has; payload is cut to the told length.
struct CommandMessage {
    std::uint8_t flags = 0;
    std::uint16_t command = 0; ///< any number can come
    std::uint16_t requestId = 0;
    Bytes payload;

    bool Has(std::uint8_t flag) const { return (flags & flag) != 0; }
    bool Is(Command wanted) const { return command == static_cast<std::uint16_t>(wanted); }
};

/// Datagrams of fewer than 8 bytes, without the key 0x42, with request id 0, or shorter than they tell are none.
/// When encoding, the payload may already stand in the buffer, behind its first 8 bytes.
std::optional<CommandMessage> DecodeCommand(Bytes datagram);
Bytes EncodeCommand(const CommandMessage& message, MutableBytes buffer);

struct AcknowledgeMessage {
    Status status = Status::Success;
    std::uint16_t acknowledge = 0; ///< code, AcknowledgeOf a command
    std::uint16_t id = 0;          ///< request id of the command
    Bytes payload;
};
std::optional<AcknowledgeMessage> DecodeAcknowledge(Bytes datagram); ///< A command is none.
Bytes EncodeAcknowledge(const AcknowledgeMessage& message, MutableBytes buffer);

// What follows decodes and encodes payloads, the bytes behind the header.

/// Addresses or values of READREG, in either direction: 1 to 135 words.
struct RegisterList {
    std::array<std::uint32_t, kMaxReadRegisters> words = {};
    std::size_t count = 0;
};
std::optional<RegisterList> DecodeReadReg(Bytes payload); ///< The command's addresses.
Bytes EncodeReadReg(const RegisterList& addresses, MutableBytes buffer);
/// The acknowledge's values; after a failure there are fewer than were asked for, even none.
std::optional<RegisterList> DecodeReadRegAck(Bytes payload);
Bytes EncodeReadRegAck(const RegisterList& values, MutableBytes buffer);
/// The values that answer a command of @p asked addresses: as many after success, at most so many after a failure.
std::optional<RegisterList> DecodeReadRegAck(const AcknowledgeMessage& message, std::size_t asked);

struct RegisterWrite {
    std::uint32_t address = 0, value = 0;
};
struct RegisterWriteList {
    std::array<RegisterWrite, kMaxWriteRegisters> writes = {};
    std::size_t count = 0;
};
std::optional<RegisterWriteList> DecodeWriteReg(Bytes payload);
Bytes EncodeWriteReg(const RegisterWriteList& writes, MutableBytes buffer);
/// Of WRITEREG: writes done; of WRITEMEM: bytes written. Hosts judge by the status alone; longer ones are accepted.
std::optional<std::uint16_t> DecodeWriteAck(Bytes payload);
Bytes EncodeWriteAck(std::uint16_t index, MutableBytes buffer);

/// Alignment and size are the receiver's to judge by status; a count above 536 or of 0 is no command.
struct MemoryRead {
    std::uint32_t address = 0;
    std::uint16_t count = 0; ///< bytes
};
std::optional<MemoryRead> DecodeReadMem(Bytes payload);
Bytes EncodeReadMem(const MemoryRead& read, MutableBytes buffer);

/// Data at an address: the acknowledge of READMEM, and the command WRITEMEM; 1 to 536 bytes. When encoding, the data
/// may already stand in the buffer, behind its first 4 bytes.
struct MemoryData {
    std::uint32_t address = 0;
    Bytes data;
};
std::optional<MemoryData> DecodeMemory(Bytes payload);
Bytes EncodeMemory(const MemoryData& memory, MutableBytes buffer);
/// What answers a READMEM of @p asked bytes: exactly so many after success; after a failure nothing is looked at or
/// told.
std::optional<MemoryData> DecodeReadMemAck(const AcknowledgeMessage& message, std::uint16_t asked);

std::optional<std::uint16_t> DecodePending(Bytes payload); ///< Time to completion in ms; longer ones are accepted.
Bytes EncodePending(std::uint16_t milliseconds, MutableBytes buffer);

/// The acknowledge of DISCOVERY. Texts end at the first zero byte or with their field; longer ones are cut to it.
struct DiscoveryInfo {
    std::uint32_t version = 0, deviceMode = 0;
    std::array<std::uint8_t, 6> mac = {};
    std::uint32_t ipOptions = 0, ipCurrent = 0, address = 0, mask = 0, gateway = 0;
    std::string manufacturer, model, deviceVersion, manufacturerInfo, serialNumber, userName;
};
std::optional<DiscoveryInfo> DecodeDiscoveryAck(Bytes payload); ///< Longer ones are accepted.
Bytes EncodeDiscoveryAck(const DiscoveryInfo& info, MutableBytes buffer);

struct ForceIp {
    std::array<std::uint8_t, 6> mac = {};
    std::uint32_t address = 0, mask = 0, gateway = 0;
};
std::optional<ForceIp> DecodeForceIp(Bytes payload);
Bytes EncodeForceIp(const ForceIp& force, MutableBytes buffer);

struct PacketRange {
    std::uint32_t first = 0, last = 0; ///< both included
};
struct ResendRequest {
    static constexpr std::uint32_t kToEnd = 0x00FFFFFF;         ///< "last" of 24-bit ids: the trailer included
    static constexpr std::uint32_t kToEndExtended = 0xFFFFFFFF; ///< and of 32-bit ones

    bool isExtended = false; ///< flag kExtendedIds of the command
    std::uint16_t channel = 0;
    std::uint64_t blockId = 0;
    std::uint32_t first = 0, last = 0; ///< packet ids; of 24 bits the upper byte is left out

    bool IsToEnd() const { return last == (isExtended ? kToEndExtended : kToEnd); }
    /// The packets meant of a block that ends with that trailer; nullopt when there are none.
    std::optional<PacketRange> RangeIn(std::uint32_t trailerId) const;
};
std::optional<ResendRequest> DecodePacketResend(Bytes payload, bool isExtended);
Bytes EncodePacketResend(const ResendRequest& request, MutableBytes buffer);

/// One item of EVENT or EVENTDATA.
struct EventItem {
    static constexpr std::uint16_t kNoChannel = 0xFFFF;

    std::uint16_t size = 0; ///< item + data as on the wire, 0 where not told; with extended ids encoding puts it in
    std::uint16_t eventId = 0;
    std::uint16_t channel = kNoChannel;
    std::uint64_t blockId = 0;
    std::uint64_t timestamp = 0; ///< device ticks
    Bytes data;                  ///< of EVENTDATA; of EVENT what the size told beyond the item
};
inline constexpr std::size_t kEventItemBytes = 16, kExtendedEventItemBytes = 24;

/// Walks the items of an EVENT or EVENTDATA payload. The data of EVENTDATA is the rest with standard ids, which have
/// one item, and where no size is told.
class EventItems {
public:
    EventItems(Bytes payload, bool isExtended, bool hasData)
        : m_rest(payload), m_isExtended(isExtended), m_hasData(hasData) {}
    std::optional<EventItem> Next(); ///< nullopt at the end, and where bytes are left that are no item.
    bool IsAtEnd() const { return m_rest.empty(); }

private:
    Bytes m_rest;
    bool m_isExtended, m_hasData;
};
/// Whether the payload is one or more items, and nothing else.
bool AreEventItems(Bytes payload, bool isExtended, bool hasData);
/// Writes one item at the start of @p buffer; several are put one behind the other.
Bytes EncodeEventItem(const EventItem& item, bool isExtended, MutableBytes buffer);

struct ActionCommand {
    std::uint32_t deviceKey = 0, groupKey = 0, groupMask = 0;
    std::optional<std::uint64_t> time; ///< device ticks; with flag kScheduled
};
std::optional<ActionCommand> DecodeAction(Bytes payload, bool isScheduled);
Bytes EncodeAction(const ActionCommand& action, MutableBytes buffer);

} // namespace GigEVision
