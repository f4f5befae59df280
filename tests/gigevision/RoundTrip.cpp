// SPDX-License-Identifier: Apache-2.0
#include "gigevision/RoundTrip.h"

#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace RoundTrip {

using namespace GigEVision;

namespace {

bool LiesWithin(Bytes part, Bytes whole) {
    return part.empty() || (std::greater_equal<>()(part.data(), whole.data()) &&
                            std::less_equal<>()(part.data() + part.size(), whole.data() + whole.size()));
}

bool AreEqual(Bytes one, Bytes other) {
    return std::ranges::equal(one, other);
}

// The first bytes of @p came, of which gaps may have become zero.
bool IsKept(Bytes came, Bytes encoded) {
    return encoded.size() <= came.size() && std::equal(encoded.begin(), encoded.end(), came.begin(),
                                                       [](auto now, auto then) { return now == then || now == 0; });
}

// Exact rooms, so that an address sanitizer sees what is written beyond.
template <typename Encode>
std::vector<std::uint8_t> Encoded(std::size_t room, Encode encode) {
    std::vector<std::uint8_t> buffer(room);
    buffer.resize(encode(MutableBytes(buffer)).size());
    return buffer;
}

// What is decoded of @p bytes is encoded, kept, and the same when all that is done again.
template <typename Decode, typename Encode>
bool Survives(Bytes bytes, Decode decode, Encode encode) {
    const auto decoded = decode(bytes);
    if (!decoded) {
        return true;
    }
    const auto once = Encoded(bytes.size(), [&](MutableBytes buffer) { return encode(*decoded, buffer); });
    const auto again = decode(Bytes(once));
    return again && IsKept(bytes, once) &&
           AreEqual(once, Encoded(once.size(), [&](MutableBytes buffer) { return encode(*again, buffer); }));
}

bool SurviveEvents(Bytes payload, bool isExtended, bool hasData) {
    EventItems items(payload, isExtended, hasData);
    std::vector<std::uint8_t> encoded;
    std::size_t count = 0;
    while (const auto item = items.Next()) {
        EventItem whole = *item;
        whole.size = 0;
        const std::size_t bytes = (isExtended ? kExtendedEventItemBytes : kEventItemBytes) + whole.data.size();
        if (++count * kEventItemBytes > payload.size() || !LiesWithin(whole.data, payload)) {
            return false;
        }
        if (bytes <= kMaxGvcpPayload) {
            const auto one =
                Encoded(bytes, [&](MutableBytes room) { return EncodeEventItem(whole, isExtended, room); });
            const auto again = EventItems(one, isExtended, hasData || !whole.data.empty()).Next();
            if (!again || again->eventId != whole.eventId || again->channel != whole.channel ||
                again->blockId != whole.blockId || again->timestamp != whole.timestamp ||
                !AreEqual(again->data, whole.data)) {
                return false;
            }
        }
    }
    return AreEventItems(payload, isExtended, hasData) == (count > 0 && items.IsAtEnd());
}

const char* OfPayload(Bytes payload) {
    const auto always = [](auto decode) { return [=](Bytes bytes) { return decode(bytes); }; };
    if (!Survives(payload, DecodeReadReg, EncodeReadReg) || !Survives(payload, DecodeWriteReg, EncodeWriteReg) ||
        !Survives(payload, always([](Bytes bytes) { return DecodeReadRegAck(bytes); }), EncodeReadRegAck)) {
        return "registers are kept";
    }
    if (!Survives(payload, DecodeReadMem, EncodeReadMem) || !Survives(payload, DecodeMemory, EncodeMemory)) {
        return "memory is kept";
    }
    if (!Survives(payload, DecodeWriteAck, EncodeWriteAck) || !Survives(payload, DecodePending, EncodePending)) {
        return "an acknowledge's number is kept";
    }
    if (!Survives(payload, DecodeDiscoveryAck, EncodeDiscoveryAck) ||
        !Survives(payload, DecodeForceIp, EncodeForceIp)) {
        return "a device's addresses are kept";
    }
    for (const bool flag : {false, true}) {
        if (!Survives(
                payload, [=](Bytes bytes) { return DecodePacketResend(bytes, flag); }, EncodePacketResend)) {
            return "a resend request is kept";
        }
        if (!Survives(
                payload, [=](Bytes bytes) { return DecodeAction(bytes, flag); }, EncodeAction)) {
            return "an action is kept";
        }
        if (!SurviveEvents(payload, flag, false) || !SurviveEvents(payload, flag, true)) {
            return "events are kept";
        }
    }
    return nullptr;
}

template <typename Message>
bool ArePartsKept(const Message& message, Bytes content, auto decode, auto encode) {
    std::size_t index = 0;
    for (; const auto part = decode(message, index); ++index) {
        const std::size_t bytes = message.parts.size() / message.PartCount();
        const auto once = Encoded(bytes, [&](MutableBytes buffer) { return encode(*part, buffer); });
        if (!IsKept(message.parts.subspan(index * bytes, bytes), once)) {
            return false;
        }
    }
    return index == message.PartCount() && LiesWithin(message.parts, content);
}

// Where the lengths of chunks are told twice, the later one wins.
bool IsToldTwice(const Trailer& trailer) {
    const std::uint16_t base = PayloadType::BaseOf(trailer.payloadType);
    return trailer.payloadType != base && (base == PayloadType::kChunkData || base == PayloadType::kExtendedChunk);
}

const char* OfLeaderAndTrailer(const PacketHeader& header, Bytes content) {
    const auto leader = DecodeLeader(header, content);
    if (leader && !ArePartsKept(*leader, content, DecodeLeaderPart, EncodeLeaderPart)) {
        return "parts of a leader are kept";
    }
    if (!Survives(
            content, [&](Bytes bytes) { return DecodeLeader(header, bytes); }, EncodeLeader)) {
        return "a leader is kept";
    }
    const auto trailer = DecodeTrailer(content);
    if (trailer && !ArePartsKept(*trailer, content, DecodeTrailerPart, EncodeTrailerPart)) {
        return "parts of a trailer are kept";
    }
    if (!(trailer && IsToldTwice(*trailer)) && !Survives(content, DecodeTrailer, EncodeTrailer)) {
        return "a trailer is kept";
    }
    const auto all = DecodeAllIn(header, content);
    if (all && (!LiesWithin(all->data, content) ||
                LeaderBytes(all->leader) + TrailerBytes(all->trailer) + all->data.size() != content.size())) {
        return "a block in one packet is whole";
    }
    return nullptr;
}

const char* OfPayloadPackets(Bytes content) {
    for (std::uint8_t number = 0; number < 16; ++number) {
        const auto format = static_cast<PacketFormat>(number);
        const auto payload = DecodePayload(format, content);
        if (!payload) {
            continue;
        }
        const auto header = Encoded(PayloadHeaderBytes(format),
                                    [&](MutableBytes buffer) { return EncodePayloadHeader(format, *payload, buffer); });
        if (!IsKept(content, header) || !LiesWithin(payload->data, content)) {
            return "a payload header is kept";
        }
    }
    return nullptr;
}

const char* OfChunks(Bytes chain) {
    Chunks chunks(chain);
    std::size_t bytes = 0;
    while (const auto chunk = chunks.Previous()) {
        bytes += chunk->data.size() + 8;
        if (bytes > chain.size() || !LiesWithin(chunk->data, chain)) {
            return "chunks lie within their chain";
        }
    }
    return chunks.IsAtStart() == (bytes == chain.size()) ? nullptr : "a chain is read to its start";
}

} // namespace

const char* OfControl(Bytes datagram) {
    if (const auto command = DecodeCommand(datagram)) {
        const bool fits = command->payload.size() <= kMaxGvcpPayload;
        if (!LiesWithin(command->payload, datagram) || (fits && !Survives(datagram, DecodeCommand, EncodeCommand))) {
            return "a command is kept";
        }
        if (const char* const fault = OfPayload(command->payload)) {
            return fault;
        }
    }
    if (const auto acknowledge = DecodeAcknowledge(datagram)) {
        const bool fits = acknowledge->payload.size() <= kMaxGvcpPayload;
        if (DecodeCommand(datagram) || (fits && !Survives(datagram, DecodeAcknowledge, EncodeAcknowledge))) {
            return "an acknowledge is kept, and is no command";
        }
        const auto values = DecodeReadRegAck(*acknowledge, 3);
        const auto memory = DecodeReadMemAck(*acknowledge, 8);
        const bool isSuccess = !IsError(acknowledge->status);
        if ((values && (values->count > 3 || (isSuccess && values->count != 3))) ||
            (memory && memory->data.size() != (isSuccess ? 8u : 0u))) {
            return "an acknowledge holds what was asked for";
        }
        if (const char* const fault = OfPayload(acknowledge->payload)) {
            return fault;
        }
    }
    return OfPayload(datagram); // also as the bytes behind a header
}

const char* OfStream(Bytes datagram) {
    const auto packet = DecodePacket(datagram);
    PacketHeader header;
    Bytes content = datagram;
    if (packet) {
        header = packet->header;
        content = packet->content;
        const auto decode = [](Bytes bytes) {
            const auto found = DecodePacket(bytes);
            return found ? std::optional(found->header) : std::nullopt;
        };
        if (!LiesWithin(content, datagram) || header.format > 15) {
            return "a packet's content lies within it";
        }
        // The upper bits of the format are no field, and need not be zero.
        std::vector<std::uint8_t> bytes(datagram.begin(), datagram.end());
        bytes[4] &= 0x8F;
        if (!Survives(bytes, decode, EncodeHeader)) {
            return "a packet's header is kept";
        }
    }
    for (const char* const fault :
         {OfLeaderAndTrailer(header, content), OfPayloadPackets(content), OfChunks(content)}) {
        if (fault != nullptr) {
            return fault;
        }
    }
    return nullptr;
}

} // namespace RoundTrip
