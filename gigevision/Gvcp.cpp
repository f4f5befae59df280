// SPDX-License-Identifier: Apache-2.0
#include "Gvcp.h"

#include <algorithm>

namespace GigEVision {

namespace {

constexpr std::uint8_t kKey = 0x42; // no status in use begins with it

constexpr std::size_t kForceIpBytes = 56;
constexpr std::size_t kResendBytes = 12, kExtendedResendBytes = 20;
constexpr std::size_t kActionBytes = 12, kScheduledActionBytes = 20;
constexpr std::size_t kWriteAckBytes = 4;

// The bytes behind the header that it tells; nullopt when fewer came.
std::optional<Bytes> CutPayload(Bytes datagram) {
    const std::size_t length = GetBigEndian<std::uint16_t>(datagram.data() + 4);
    if (length > datagram.size() - kGvcpHeaderBytes) {
        return std::nullopt;
    }
    return datagram.subspan(kGvcpHeaderBytes, length);
}

// Puts the payload behind the header, where it may already be.
Bytes PutPayload(Bytes payload, std::uint16_t id, MutableBytes buffer) {
    assert(payload.size() <= kMaxGvcpPayload && kGvcpHeaderBytes + payload.size() <= buffer.size());
    PutBigEndian(buffer.data() + 4, static_cast<std::uint16_t>(payload.size()));
    PutBigEndian(buffer.data() + 6, id);
    if (!payload.empty()) {
        std::memmove(buffer.data() + kGvcpHeaderBytes, payload.data(), payload.size());
    }
    return buffer.first(kGvcpHeaderBytes + payload.size());
}

std::optional<RegisterList> DecodeWords(Bytes payload) {
    if (payload.size() % 4 != 0 || payload.size() / 4 > kMaxReadRegisters) {
        return std::nullopt;
    }
    RegisterList list;
    list.count = payload.size() / 4;
    for (std::size_t i = 0; i < list.count; ++i) {
        list.words[i] = GetBigEndian<std::uint32_t>(payload.data() + 4 * i);
    }
    return list;
}

struct TextField {
    std::string DiscoveryInfo::*text;
    std::size_t offset, bytes;
};
constexpr TextField kTexts[] = {
    {&DiscoveryInfo::manufacturer, 72, 32},   {&DiscoveryInfo::model, 104, 32},
    {&DiscoveryInfo::deviceVersion, 136, 32}, {&DiscoveryInfo::manufacturerInfo, 168, 48},
    {&DiscoveryInfo::serialNumber, 216, 16},  {&DiscoveryInfo::userName, 232, 16},
};

std::string TextOf(Bytes field) {
    return std::string(field.begin(), std::find(field.begin(), field.end(), std::uint8_t{0}));
}

Bytes BytesOf(const std::string& text, std::size_t limit) {
    return Bytes(reinterpret_cast<const std::uint8_t*>(text.data()), std::min(text.size(), limit));
}

} // namespace

std::optional<CommandMessage> DecodeCommand(Bytes datagram) {
    if (datagram.size() < kGvcpHeaderBytes || datagram[0] != kKey) {
        return std::nullopt;
    }
    const std::optional<Bytes> payload = CutPayload(datagram);
    const auto requestId = GetBigEndian<std::uint16_t>(datagram.data() + 6);
    if (!payload || requestId == 0) {
        return std::nullopt;
    }
    return CommandMessage{datagram[1], GetBigEndian<std::uint16_t>(datagram.data() + 2), requestId, *payload};
}

Bytes EncodeCommand(const CommandMessage& message, MutableBytes buffer) {
    assert(message.requestId != 0);
    const Bytes datagram = PutPayload(message.payload, message.requestId, buffer);
    buffer[0] = kKey;
    buffer[1] = message.flags;
    PutBigEndian(buffer.data() + 2, message.command);
    return datagram;
}

std::optional<AcknowledgeMessage> DecodeAcknowledge(Bytes datagram) {
    if (datagram.size() < kGvcpHeaderBytes || datagram[0] == kKey) {
        return std::nullopt;
    }
    const std::optional<Bytes> payload = CutPayload(datagram);
    if (!payload) {
        return std::nullopt;
    }
    return AcknowledgeMessage{Status{GetBigEndian<std::uint16_t>(datagram.data())},
                              GetBigEndian<std::uint16_t>(datagram.data() + 2),
                              GetBigEndian<std::uint16_t>(datagram.data() + 6), *payload};
}

Bytes EncodeAcknowledge(const AcknowledgeMessage& message, MutableBytes buffer) {
    const Bytes datagram = PutPayload(message.payload, message.id, buffer);
    PutBigEndian(buffer.data(), static_cast<std::uint16_t>(message.status));
    PutBigEndian(buffer.data() + 2, message.acknowledge);
    return datagram;
}

std::optional<RegisterList> DecodeReadReg(Bytes payload) {
    return payload.empty() ? std::nullopt : DecodeWords(payload);
}

Bytes EncodeReadReg(const RegisterList& addresses, MutableBytes buffer) {
    assert(addresses.count > 0);
    return EncodeReadRegAck(addresses, buffer);
}

std::optional<RegisterList> DecodeReadRegAck(Bytes payload) {
    return DecodeWords(payload);
}

std::optional<RegisterList> DecodeReadRegAck(const AcknowledgeMessage& message, std::size_t asked) {
    std::optional<RegisterList> values = DecodeWords(message.payload);
    if (values && (values->count > asked || (values->count < asked && !IsError(message.status)))) {
        values.reset();
    }
    return values;
}

Bytes EncodeReadRegAck(const RegisterList& values, MutableBytes buffer) {
    assert(values.count <= kMaxReadRegisters);
    Writer writer(buffer.first(4 * values.count));
    for (std::size_t i = 0; i < values.count; ++i) {
        writer.Put(4 * i, values.words[i]);
    }
    return buffer.first(4 * values.count);
}

std::optional<RegisterWriteList> DecodeWriteReg(Bytes payload) {
    if (payload.empty() || payload.size() % 8 != 0 || payload.size() / 8 > kMaxWriteRegisters) {
        return std::nullopt;
    }
    RegisterWriteList list;
    list.count = payload.size() / 8;
    for (std::size_t i = 0; i < list.count; ++i) {
        list.writes[i] = {GetBigEndian<std::uint32_t>(payload.data() + 8 * i),
                          GetBigEndian<std::uint32_t>(payload.data() + 8 * i + 4)};
    }
    return list;
}

Bytes EncodeWriteReg(const RegisterWriteList& list, MutableBytes buffer) {
    assert(list.count > 0 && list.count <= kMaxWriteRegisters);
    Writer writer(buffer.first(8 * list.count));
    for (std::size_t i = 0; i < list.count; ++i) {
        writer.Put(8 * i, list.writes[i].address);
        writer.Put(8 * i + 4, list.writes[i].value);
    }
    return buffer.first(8 * list.count);
}

std::optional<std::uint16_t> DecodeWriteAck(Bytes payload) {
    if (payload.size() < kWriteAckBytes) {
        return std::nullopt;
    }
    return GetBigEndian<std::uint16_t>(payload.data() + 2);
}

Bytes EncodeWriteAck(std::uint16_t index, MutableBytes buffer) {
    Writer(buffer.first(kWriteAckBytes)).Put(2, index);
    return buffer.first(kWriteAckBytes);
}

std::optional<MemoryRead> DecodeReadMem(Bytes payload) {
    if (payload.size() != 8) {
        return std::nullopt;
    }
    const MemoryRead read{GetBigEndian<std::uint32_t>(payload.data()), GetBigEndian<std::uint16_t>(payload.data() + 6)};
    return read.count == 0 || read.count > kMaxMemoryBytes ? std::nullopt : std::optional(read);
}

Bytes EncodeReadMem(const MemoryRead& read, MutableBytes buffer) {
    assert(read.count > 0 && read.count <= kMaxMemoryBytes);
    Writer writer(buffer.first(8));
    writer.Put(0, read.address);
    writer.Put(6, read.count);
    return buffer.first(8);
}

std::optional<MemoryData> DecodeMemory(Bytes payload) {
    if (payload.size() <= 4 || payload.size() > 4 + kMaxMemoryBytes) {
        return std::nullopt;
    }
    return MemoryData{GetBigEndian<std::uint32_t>(payload.data()), payload.subspan(4)};
}

std::optional<MemoryData> DecodeReadMemAck(const AcknowledgeMessage& message, std::uint16_t asked) {
    if (IsError(message.status)) {
        return MemoryData{};
    }
    const std::optional<MemoryData> memory = DecodeMemory(message.payload);
    return memory && memory->data.size() == asked ? memory : std::nullopt;
}

Bytes EncodeMemory(const MemoryData& memory, MutableBytes buffer) {
    assert(!memory.data.empty() && memory.data.size() <= kMaxMemoryBytes);
    // The data may already stand in its place.
    std::memmove(buffer.subspan(4, memory.data.size()).data(), memory.data.data(), memory.data.size());
    PutBigEndian(buffer.data(), memory.address);
    return buffer.first(4 + memory.data.size());
}

std::optional<std::uint16_t> DecodePending(Bytes payload) {
    return DecodeWriteAck(payload);
}

Bytes EncodePending(std::uint16_t milliseconds, MutableBytes buffer) {
    return EncodeWriteAck(milliseconds, buffer);
}

std::optional<DiscoveryInfo> DecodeDiscoveryAck(Bytes payload) {
    Reader reader(payload);
    DiscoveryInfo info;
    info.version = reader.Get<std::uint32_t>(0);
    info.deviceMode = reader.Get<std::uint32_t>(4);
    std::ranges::copy(reader.Get(10, info.mac.size()), info.mac.begin());
    info.ipOptions = reader.Get<std::uint32_t>(16);
    info.ipCurrent = reader.Get<std::uint32_t>(20);
    info.address = reader.Get<std::uint32_t>(36);
    info.mask = reader.Get<std::uint32_t>(52);
    info.gateway = reader.Get<std::uint32_t>(68);
    for (const TextField& field : kTexts) {
        info.*field.text = TextOf(reader.Get(field.offset, field.bytes));
    }
    return reader.IsWhole() ? std::optional(info) : std::nullopt;
}

Bytes EncodeDiscoveryAck(const DiscoveryInfo& info, MutableBytes buffer) {
    Writer writer(buffer.first(kDiscoveryBytes));
    writer.Put(0, info.version);
    writer.Put(4, info.deviceMode);
    writer.Put(10, info.mac);
    writer.Put(16, info.ipOptions);
    writer.Put(20, info.ipCurrent);
    writer.Put(36, info.address);
    writer.Put(52, info.mask);
    writer.Put(68, info.gateway);
    for (const TextField& field : kTexts) {
        writer.Put(field.offset, BytesOf(info.*field.text, field.bytes));
    }
    return buffer.first(kDiscoveryBytes);
}

std::optional<ForceIp> DecodeForceIp(Bytes payload) {
    if (payload.size() != kForceIpBytes) {
        return std::nullopt;
    }
    Reader reader(payload);
    ForceIp force;
    std::ranges::copy(reader.Get(2, force.mac.size()), force.mac.begin());
    force.address = reader.Get<std::uint32_t>(20);
    force.mask = reader.Get<std::uint32_t>(36);
    force.gateway = reader.Get<std::uint32_t>(52);
    return force;
}

Bytes EncodeForceIp(const ForceIp& force, MutableBytes buffer) {
    Writer writer(buffer.first(kForceIpBytes));
    writer.Put(2, force.mac);
    writer.Put(20, force.address);
    writer.Put(36, force.mask);
    writer.Put(52, force.gateway);
    return buffer.first(kForceIpBytes);
}

std::optional<PacketRange> ResendRequest::RangeIn(std::uint32_t trailerId) const {
    const PacketRange range{first, std::min(last, trailerId)}; // all ones lie beyond any trailer
    return range.first > range.last ? std::nullopt : std::optional(range);
}

std::optional<ResendRequest> DecodePacketResend(Bytes payload, bool isExtended) {
    if (payload.size() != (isExtended ? kExtendedResendBytes : kResendBytes)) {
        return std::nullopt;
    }
    Reader reader(payload);
    ResendRequest request;
    const std::uint32_t idMask = isExtended ? 0xFFFFFFFF : 0x00FFFFFF;
    request.isExtended = isExtended;
    request.channel = reader.Get<std::uint16_t>(0);
    request.blockId = isExtended ? reader.Get<std::uint64_t>(12) : reader.Get<std::uint16_t>(2);
    request.first = reader.Get<std::uint32_t>(4) & idMask;
    request.last = reader.Get<std::uint32_t>(8) & idMask;
    return request;
}

Bytes EncodePacketResend(const ResendRequest& request, MutableBytes buffer) {
    assert(request.isExtended || (request.blockId <= 0xFFFF && request.first <= 0xFFFFFF && request.last <= 0xFFFFFF));
    const std::size_t bytes = request.isExtended ? kExtendedResendBytes : kResendBytes;
    Writer writer(buffer.first(bytes));
    writer.Put(0, request.channel);
    writer.Put(4, request.first);
    writer.Put(8, request.last);
    if (request.isExtended) {
        writer.Put(12, request.blockId);
    } else {
        writer.Put(2, static_cast<std::uint16_t>(request.blockId));
    }
    return buffer.first(bytes);
}

std::optional<EventItem> EventItems::Next() {
    const std::size_t least = m_isExtended ? kExtendedEventItemBytes : kEventItemBytes;
    if (m_rest.size() < least) {
        return std::nullopt;
    }
    Reader reader(m_rest);
    EventItem item;
    item.size = reader.Get<std::uint16_t>(0);
    item.eventId = reader.Get<std::uint16_t>(2);
    item.channel = reader.Get<std::uint16_t>(4);
    item.blockId = m_isExtended ? reader.Get<std::uint64_t>(8) : reader.Get<std::uint16_t>(6);
    item.timestamp = reader.Get<std::uint64_t>(m_isExtended ? 16 : 8);
    if (item.size != 0 && (item.size < least || item.size > m_rest.size())) {
        return std::nullopt;
    }
    std::size_t bytes = item.size != 0 ? item.size : least;
    if (m_hasData && (item.size == 0 || !m_isExtended)) {
        bytes = m_rest.size();
    }
    item.data = m_rest.subspan(least, bytes - least);
    m_rest = m_rest.subspan(bytes);
    return item;
}

bool AreEventItems(Bytes payload, bool isExtended, bool hasData) {
    EventItems items(payload, isExtended, hasData);
    while (items.Next()) {
    }
    return !payload.empty() && items.IsAtEnd();
}

Bytes EncodeEventItem(const EventItem& item, bool isExtended, MutableBytes buffer) {
    assert(isExtended || item.blockId <= 0xFFFF);
    const std::size_t itemBytes = isExtended ? kExtendedEventItemBytes : kEventItemBytes;
    const std::size_t bytes = itemBytes + item.data.size();
    assert(bytes <= kMaxGvcpPayload);
    Writer writer(buffer.first(bytes));
    writer.Put(0, isExtended ? static_cast<std::uint16_t>(bytes) : item.size);
    writer.Put(2, item.eventId);
    writer.Put(4, item.channel);
    if (isExtended) {
        writer.Put(8, item.blockId);
    } else {
        writer.Put(6, static_cast<std::uint16_t>(item.blockId));
    }
    writer.Put(isExtended ? 16 : 8, item.timestamp);
    writer.Put(itemBytes, item.data);
    return buffer.first(bytes);
}

std::optional<ActionCommand> DecodeAction(Bytes payload, bool isScheduled) {
    if (payload.size() != (isScheduled ? kScheduledActionBytes : kActionBytes)) {
        return std::nullopt;
    }
    Reader reader(payload);
    ActionCommand action{reader.Get<std::uint32_t>(0), reader.Get<std::uint32_t>(4), reader.Get<std::uint32_t>(8), {}};
    if (isScheduled) {
        action.time = reader.Get<std::uint64_t>(12);
    }
    return action;
}

Bytes EncodeAction(const ActionCommand& action, MutableBytes buffer) {
    const std::size_t bytes = action.time ? kScheduledActionBytes : kActionBytes;
    Writer writer(buffer.first(bytes));
    writer.Put(0, action.deviceKey);
    writer.Put(4, action.groupKey);
    writer.Put(8, action.groupMask);
    if (action.time) {
        writer.Put(12, *action.time);
    }
    return buffer.first(bytes);
}

} // namespace GigEVision
