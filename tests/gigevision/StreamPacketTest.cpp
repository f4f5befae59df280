// SPDX-License-Identifier: Apache-2.0

// Every packet of the stream protocol in the golden table: decoded and compared with its fields, encoded and compared
// with its bytes.

#include "gigevision/Golden.h"

#include <gigevision/Gvsp.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace GigEVision;
using Golden::Case;
using Golden::Check;
using Golden::Fields;
using Golden::Handler;
using Golden::Message;

namespace {

struct Nothing {};

const std::map<std::string, std::uint16_t> kTypes = {
    {"image", PayloadType::kImage},
    {"raw", PayloadType::kRawData},
    {"file", PayloadType::kFile},
    {"chunk", PayloadType::kChunkData},
    {"extended_chunk", PayloadType::kExtendedChunk},
    {"jpeg", PayloadType::kJpeg},
    {"jpeg2000", PayloadType::kJpeg2000},
    {"h264", PayloadType::kH264},
    {"multizone", PayloadType::kMultiZone},
    {"multipart", PayloadType::kMultiPart},
    {"gendc", PayloadType::kGenDc},
};
const std::map<std::string, PacketFormat> kFormats = {
    {"generic", PacketFormat::Generic},     {"h264", PacketFormat::H264},   {"multizone", PacketFormat::MultiZone},
    {"multipart", PacketFormat::MultiPart}, {"gendc", PacketFormat::GenDc},
};

void BindHeader(Fields& fields, const Case& block, PacketHeader& header) {
    fields("status", header.status);
    fields.StatusName(header.status);
    fields("extended", header.isExtended);
    fields("flags", header.flags);
    fields("block_id", header.blockId);
    fields("packet_id", header.packetId);
    fields("format", header.format);
    fields(block.kind == "leader_multizone" ? "additional_zones" : "number_of_parts", header.parts);
}

// A packet whose content is decoded by @p decode and bound and encoded alike.
template <typename Body, typename Decode, typename Bind, typename Encode>
bool CheckPacket(const Case& block, Fields& fields, Decode decode, Bind bind, Encode encode) {
    typedef Message<PacketHeader, Body> Packet;
    return Check<Packet>(
        block, fields,
        [&](Bytes datagram) -> std::optional<Packet> {
            const auto packet = DecodePacket(datagram);
            std::optional<Body> body;
            if (packet) {
                body = decode(packet->header, packet->content);
            }
            return body ? std::optional(Packet{packet->header, *body}) : std::nullopt;
        },
        [&](Packet& packet) {
            BindHeader(fields, block, packet.head);
            bind(packet.body);
        },
        [&](Packet& packet, MutableBytes buffer) {
            const std::size_t bytes = EncodeHeader(packet.head, buffer).size();
            return Bytes(buffer.first(bytes + encode(packet.body, buffer.subspan(bytes)).size()));
        });
}

bool CheckHeader(const Case& block, Fields& fields) {
    return CheckPacket<Nothing>(
        block, fields,
        [&](const PacketHeader& header, Bytes content) {
            EXPECT_TRUE(content.empty());
            EXPECT_TRUE(block.kind != "error_packet" || IsError(header.status));
            return std::optional(Nothing{});
        },
        [](Nothing&) {}, [](const Nothing&, MutableBytes) { return Bytes{}; });
}

void BindGeometry(Fields& fields, ImageGeometry& geometry, std::size_t index = 0) {
    fields("pixel_format", geometry.pixelFormat, index);
    fields("size_x", geometry.sizeX, index);
    fields("size_y", geometry.sizeY, index);
    fields("offset_x", geometry.offsetX, index);
    fields("offset_y", geometry.offsetY, index);
    fields("padding_x", geometry.paddingX, index);
    fields("padding_y", geometry.paddingY, index);
}

// Decodes each part by its index; there is none behind the last.
template <typename Part, typename Message>
std::vector<Part> PartsOf(const Message& message, std::optional<Part> (*decode)(const Message&, std::size_t)) {
    std::vector<Part> parts;
    while (const auto part = decode(message, parts.size())) {
        parts.push_back(*part);
    }
    EXPECT_EQ(parts.size(), message.PartCount());
    return parts;
}

template <typename Part>
Bytes EncodeParts(const std::vector<Part>& parts, Bytes (*encode)(const Part&, MutableBytes), MutableBytes buffer) {
    std::size_t bytes = 0;
    for (const Part& part : parts) {
        bytes += encode(part, buffer.subspan(bytes)).size();
    }
    return buffer.first(bytes);
}

struct WholeLeader {
    Leader leader;
    std::vector<LeaderPart> parts;
};

void BindLeader(Fields& fields, WholeLeader& whole) {
    Leader& leader = whole.leader;
    fields("payload_type", leader.payloadType);
    fields("field_id", leader.fieldId);
    fields("field_count", leader.fieldCount);
    fields("generic_flags", leader.genericFlags);
    fields("timestamp", leader.timestamp);
    fields("payload_size", leader.payloadSize);
    fields("file_name", leader.fileName);
    fields("tick_frequency", leader.tickFrequency);
    fields("data_format", leader.dataFormat);
    fields("packetization_mode", leader.h264.packetizationMode);
    fields("packet_size", leader.h264.packetSize);
    fields("profile", leader.h264.profile);
    fields("constraint_flags", leader.h264.constraintFlags);
    fields("level", leader.h264.level);
    fields("interleaving_depth", leader.h264.interleavingDepth);
    fields("max_difference", leader.h264.maxDifference);
    fields("deinterleave_buffer", leader.h264.deinterleaveBuffer);
    fields("initial_time", leader.h264.initialTime);
    fields("leader_flags", leader.genDcFlags);
    fields("descriptor_size", leader.genDcDescriptorSize);
    if (PayloadType::BaseOf(leader.payloadType) != PayloadType::kMultiPart) {
        fields("additional_zones", leader.additionalZones);
        fields("zone_directions", leader.zoneDirections);
        BindGeometry(fields, leader.geometry);
        return;
    }
    fields.Size("data_type", whole.parts);
    for (std::size_t i = 0; i < whole.parts.size(); ++i) {
        LeaderPart& part = whole.parts[i];
        fields("data_type", part.dataType, i);
        fields("length", part.length, i);
        fields("source_id", part.sourceId, i);
        fields("additional_zones", part.additionalZones, i);
        fields("zone_directions", part.zoneDirections, i);
        fields("purpose", part.purpose, i);
        fields("region_id", part.regionId, i);
        BindGeometry(fields, part.geometry, i);
    }
}

bool CheckLeader(const Case& block, Fields& fields) {
    return CheckPacket<WholeLeader>(
        block, fields,
        [&](const PacketHeader& header, Bytes content) -> std::optional<WholeLeader> {
            EXPECT_TRUE(header.Is(PacketFormat::Leader));
            const auto leader = DecodeLeader(header, content);
            return leader ? std::optional(WholeLeader{*leader, PartsOf(*leader, DecodeLeaderPart)}) : std::nullopt;
        },
        [&](WholeLeader& whole) { BindLeader(fields, whole); },
        [](WholeLeader& whole, MutableBytes buffer) {
            std::array<std::uint8_t, 1024> parts = {};
            whole.leader.parts = EncodeParts(whole.parts, EncodeLeaderPart, parts);
            return EncodeLeader(whole.leader, buffer);
        });
}

struct WholeTrailer {
    Trailer trailer;
    std::vector<TrailerPart> parts;
};

void BindChunkFields(Fields& fields, Trailer& trailer) {
    const bool isExtended = (trailer.payloadType & PayloadType::kChunks) != 0;
    fields(isExtended ? "chunk_data_length" : "data_length", trailer.dataLength);
    fields(isExtended ? "chunk_layout_id" : "layout_id", trailer.layoutId);
}

void BindTrailer(Fields& fields, WholeTrailer& whole) {
    fields("payload_type", whole.trailer.payloadType);
    if (PayloadType::BaseOf(whole.trailer.payloadType) != PayloadType::kMultiPart) {
        fields("size_y", whole.trailer.sizeY);
    }
    BindChunkFields(fields, whole.trailer);
    fields.Size("data_type", whole.parts);
    for (std::size_t i = 0; i < whole.parts.size(); ++i) {
        fields("data_type", whole.parts[i].dataType, i);
        fields("length", whole.parts[i].length, i);
        fields("size_y", whole.parts[i].sizeY, i);
    }
}

bool CheckTrailer(const Case& block, Fields& fields) {
    return CheckPacket<WholeTrailer>(
        block, fields,
        [&](const PacketHeader& header, Bytes content) -> std::optional<WholeTrailer> {
            EXPECT_TRUE(header.Is(PacketFormat::Trailer));
            const auto trailer = DecodeTrailer(content);
            return trailer ? std::optional(WholeTrailer{*trailer, PartsOf(*trailer, DecodeTrailerPart)}) : std::nullopt;
        },
        [&](WholeTrailer& whole) { BindTrailer(fields, whole); },
        [](WholeTrailer& whole, MutableBytes buffer) {
            std::array<std::uint8_t, 1024> parts = {};
            whole.trailer.parts = EncodeParts(whole.parts, EncodeTrailerPart, parts);
            return EncodeTrailer(whole.trailer, buffer);
        });
}

void BindPayload(Fields& fields, PacketFormat format, PayloadPacket& payload) {
    fields("timestamp", payload.timestamp);
    fields("part_id", payload.partId);
    fields(format == PacketFormat::GenDc ? "destination_offset" : "offset", payload.offset);
    fields("size", payload.genDcSize);
    fields("data_flags", payload.dataFlags);
    fields("flow_flags", payload.flowFlags);
    fields("flow_id", payload.flowId);
    fields("data", payload.data);
    std::uint8_t zone = payload.Zone();
    bool isEndOfZone = payload.IsEndOfZone(), isEndOfPart = payload.IsEndOfPart();
    fields("zone", zone);
    fields("end_of_zone", isEndOfZone);
    fields("end_of_part", isEndOfPart);
    if (fields.IsFilling()) {
        payload.zoneInfo = static_cast<std::uint8_t>((isEndOfPart ? ZoneInfo::kEndOfPart : 0) | zone << 1 |
                                                     (isEndOfZone ? ZoneInfo::kEndOfZone : 0));
    }
}

Handler OnPayload(PacketFormat format) {
    return [=](const Case& block, Fields& fields) {
        return CheckPacket<PayloadPacket>(
            block, fields,
            [&](const PacketHeader& header, Bytes content) {
                EXPECT_TRUE(header.Is(format));
                return DecodePayload(format, content);
            },
            [&](PayloadPacket& payload) { BindPayload(fields, format, payload); },
            [&](const PayloadPacket& payload, MutableBytes buffer) {
                const std::size_t bytes = EncodePayloadHeader(format, payload, buffer).size();
                EXPECT_EQ(bytes, PayloadHeaderBytes(format));
                std::ranges::copy(payload.data, buffer.begin() + static_cast<std::ptrdiff_t>(bytes));
                return Bytes(buffer.first(bytes + payload.data.size()));
            });
    };
}

bool CheckAllIn(const Case& block, Fields& fields) {
    return CheckPacket<AllIn>(
        block, fields,
        [&](const PacketHeader& header, Bytes content) {
            EXPECT_TRUE(header.Is(PacketFormat::AllIn));
            return DecodeAllIn(header, content);
        },
        [&](AllIn& all) {
            WholeLeader leader{all.leader, {}};
            BindLeader(fields, leader);
            all.leader = leader.leader;
            all.trailer.payloadType = all.leader.payloadType;
            fields("trailer_size_y", all.trailer.sizeY);
            BindChunkFields(fields, all.trailer);
            fields("data", all.data);
        },
        [](const AllIn& all, MutableBytes buffer) {
            std::size_t bytes = EncodeLeader(all.leader, buffer).size();
            bytes += EncodeTrailer(all.trailer, buffer.subspan(bytes)).size();
            std::ranges::copy(all.data, buffer.begin() + static_cast<std::ptrdiff_t>(bytes));
            return Bytes(buffer.first(bytes + all.data.size()));
        });
}

bool CheckChunkChain(const Case& block, Fields& fields) {
    const std::size_t valid = fields.Number("valid_length", block.bytes.size());
    Chunks chain(Bytes(block.bytes).first(valid));
    std::vector<Chunk> chunks;
    while (const auto chunk = chain.Previous()) {
        chunks.insert(chunks.begin(), *chunk);
    }
    if (!chain.IsAtStart() || block.verb == "refuse") {
        return chain.IsAtStart();
    }
    fields.Size("chunk_id", chunks);
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        fields("chunk_id", chunks[i].id, i);
        fields("data", chunks[i].data, i);
    }
    return true;
}

Golden::Handlers StreamHandlers() {
    Golden::Handlers handlers = {{"header", CheckHeader}, {"error_packet", CheckHeader},
                                 {"leader", CheckLeader}, {"trailer", CheckTrailer},
                                 {"all_in", CheckAllIn},  {"chunk_chain", CheckChunkChain}};
    for (const auto& [name, type] : kTypes) {
        const auto check = [](std::uint16_t base, const Handler& handler) {
            return [=](const Case& block, Fields& fields) {
                const std::size_t header = GvspHeaderBytes((block.bytes.at(4) & 0x80) != 0);
                const auto told = GetBigEndian<std::uint16_t>(&block.bytes.at(header + 2));
                EXPECT_EQ(PayloadType::BaseOf(told), base);
                return handler(block, fields);
            };
        };
        handlers["leader_" + name] = check(type, CheckLeader);
        handlers["trailer_" + name] = check(type, CheckTrailer);
    }
    for (const auto& [name, format] : kFormats) {
        handlers["payload_" + name] = OnPayload(format);
    }
    return handlers;
}

TEST(StreamPacketTest, PacketsAreDecodedAndEncodedAsTold) {
    Golden::RunCases("gvsp.txt", StreamHandlers());
}

} // namespace
