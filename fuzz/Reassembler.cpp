// SPDX-License-Identifier: Apache-2.0

// The reassembler, over a row of datagrams and steps of the clock. Of each datagram the input tells whether it is a
// packet of some block, changed or not, or arbitrary bytes. Buffers lie between bytes that nobody may touch.

#include "stream/Reassembler.h"

#include "Fuzz.h"
#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>

#include <algorithm>
#include <limits>
#include <set>
#include <vector>

using namespace Gige;
using Fuzz::Require;
using GigEVision::MutableBytes;
using GigEVision::PacketFormat;

namespace {

constexpr std::uint32_t kPacketSize = 160, kBufferBytes = 500, kMostBuffers = 6;
constexpr std::uint8_t kGuard = 0xA5;
constexpr std::uint16_t kTypes[] = {1, 2, 3, 4, 5, 0x4001, 6, 8, 9, 0xA, 0xB, 0x33, 0x8001};
constexpr std::uint16_t kStatuses[] = {0, 0, 0, 0, 0x0100, 0x4004, 0x800C, 0x800D, 0x8010, 0x8011, 0x8012, 0x8FFF};
constexpr std::int64_t kSteps[] = {0, 10'000, 1'000'000, 20'000'000, 200'000'000, 5'000'000'000};

struct CGuarded {
    CGuarded() { bytes.fill(kGuard); }
    MutableBytes Memory() { return MutableBytes(bytes).subspan(64, kBufferBytes); }
    bool IsSound() const {
        return std::all_of(bytes.begin(), bytes.begin() + 64, [](std::uint8_t byte) { return byte == kGuard; }) &&
               std::all_of(bytes.end() - 64, bytes.end(), [](std::uint8_t byte) { return byte == kGuard; });
    }
    std::array<std::uint8_t, kBufferBytes + 128> bytes;
};

// A packet whose fields are likely to fit together.
std::vector<std::uint8_t> SomePacket(Fuzz::Choices& choices) {
    if (choices.ConsumeIntegralInRange<int>(0, 15) == 0) {
        return choices.ConsumeBytes<std::uint8_t>(choices.ConsumeIntegralInRange<std::size_t>(0, 200));
    }
    std::vector<std::uint8_t> bytes(300);
    GigEVision::PacketHeader header{.status = GigEVision::Status{choices.PickValueInArray(kStatuses)},
                                    .isExtended = choices.ConsumeBool()};
    header.format = choices.PickValueInArray<std::uint8_t>({1, 2, 3, 3, 3, 4, 5, 6, 7, 8, 12});
    header.parts = choices.ConsumeIntegralInRange<std::uint8_t>(0, 3);
    header.blockId = choices.ConsumeIntegralInRange<std::uint16_t>(0, 7) +
                     choices.PickValueInArray<std::uint16_t>({0, 0, 0, 1000, 65528});
    header.packetId = header.format == 1 || header.format == 4
                          ? 0
                          : choices.ConsumeIntegralInRange<std::uint32_t>(0, 9) +
                                choices.PickValueInArray<std::uint32_t>({0, 0, 0, 0, 0x00FFFFF0});
    std::size_t length = GigEVision::EncodeHeader(header, bytes).size();
    GigEVision::Leader leader;
    leader.payloadType = choices.PickValueInArray(kTypes);
    leader.timestamp = choices.ConsumeIntegralInRange<std::uint64_t>(0, 5);
    leader.payloadSize = choices.ConsumeIntegralInRange<std::uint64_t>(0, 700);
    leader.geometry = {.pixelFormat = 0x01080001, .sizeX = 20, .sizeY = choices.ConsumeIntegral<std::uint8_t>()};
    std::vector<std::uint8_t> parts(header.parts * GigEVision::kLeaderPartBytes);
    for (std::size_t at = 0; at < parts.size(); at += GigEVision::kLeaderPartBytes) {
        GigEVision::EncodeLeaderPart({.dataType = 1, .length = choices.ConsumeIntegral<std::uint8_t>()},
                                     MutableBytes(parts).subspan(at));
    }
    leader.parts = parts;
    GigEVision::Trailer trailer;
    trailer.payloadType = leader.payloadType;
    trailer.sizeY = choices.ConsumeIntegralInRange<std::uint32_t>(0, 30);
    trailer.dataLength = choices.ConsumeIntegralInRange<std::uint32_t>(0, 700);
    const auto rest = [&] { return MutableBytes(bytes).subspan(length); };
    if (header.Is(PacketFormat::Leader) || header.Is(PacketFormat::AllIn)) {
        length += GigEVision::EncodeLeader(leader, rest()).size();
    }
    if (header.Is(PacketFormat::Trailer) || header.Is(PacketFormat::AllIn)) {
        length += GigEVision::EncodeTrailer(trailer, rest()).size();
    } else if (!header.Is(PacketFormat::Leader)) {
        GigEVision::PayloadPacket payload;
        payload.partId = choices.ConsumeIntegralInRange<std::uint8_t>(0, 3);
        payload.offset = choices.ConsumeIntegralInRange<std::uint64_t>(0, 600);
        payload.dataFlags = choices.ConsumeIntegral<std::uint8_t>();
        const auto full = GigEVision::PacketLayout::For(kPacketSize, header.isExtended, PacketFormat{header.format});
        const std::size_t data =
            full->dataBytes - (choices.ConsumeBool() ? 0 : choices.ConsumeIntegral<std::uint8_t>() % 90);
        payload.genDcSize = static_cast<std::uint32_t>(data);
        length += GigEVision::EncodePayloadHeader(PacketFormat{header.format}, payload, rest()).size() + data;
    }
    bytes.resize(length);
    if (choices.ConsumeIntegralInRange<int>(0, 15) == 0 && length > 0) {
        bytes[choices.ConsumeIntegralInRange<std::size_t>(0, length - 1)] ^= choices.ConsumeIntegral<std::uint8_t>();
    }
    return bytes;
}

class Receiver {
public:
    explicit Receiver(Fuzz::Choices& choices)
        : m_reassembler({.packetSize = kPacketSize,
                         .payloadBytes = choices.PickValueInArray<std::uint64_t>({0, 400, ~std::uint64_t{0}}),
                         .maxOpenBlocks = 4,
                         .maxBuffers = kMostBuffers,
                         .maxBufferBytes = kBufferBytes,
                         .acceptsAllIn = choices.ConsumeBool()},
                        {}) {}

    void Step(Fuzz::Choices& choices) {
        switch (choices.ConsumeIntegralInRange<int>(0, 9)) {
        case 0:
            m_nowNs += choices.PickValueInArray(kSteps);
            Tick();
            break;
        case 1:
            Add(choices.ConsumeIntegralInRange<std::size_t>(0, kMostBuffers - 1));
            break;
        case 2:
            m_reassembler.OnDroppedByHost(choices.ConsumeIntegral<std::uint8_t>());
            break;
        case 3:
            choices.ConsumeBool() ? m_reassembler.CancelAll() : ChangeSettings(choices);
            break;
        default:
            m_reassembler.OnDatagram(SomePacket(choices), m_nowNs += 10'000);
            break;
        }
        TakeFinished();
    }
    void End() {
        m_nowNs += 10'000'000'000;
        Tick();
        m_reassembler.CancelAll();
        TakeFinished();
        Require(m_given.empty() && m_reassembler.Buffers() == 0, "each buffer comes back");
    }

private:
    void Add(std::size_t index) {
        CGuarded& buffer = m_buffers[index];
        if (m_given.insert(&buffer).second) {
            Require(m_reassembler.AddBuffer({&buffer, buffer.Memory()}), "room for a buffer");
        }
    }
    void ChangeSettings(Fuzz::Choices& choices) {
        CResendSettings settings;
        settings.isEnabled = choices.ConsumeBool();
        settings.window = choices.ConsumeIntegralInRange<std::uint32_t>(0, 10);
        settings.threshold = choices.ConsumeIntegralInRange<std::uint32_t>(0, 3);
        settings.batching = choices.ConsumeIntegralInRange<std::uint32_t>(0, 3);
        settings.maxRequests = choices.ConsumeIntegralInRange<std::uint32_t>(0, 6);
        m_reassembler.Change(settings);
    }
    void Tick() {
        m_reassembler.OnTick(m_nowNs);
        std::uint64_t packets = 0;
        for (const CResendCommand& command : m_reassembler.TakeResends()) {
            const auto& request = command.request;
            Require(request.first <= request.last, "range of a request");
            packets += request.IsToEnd() ? 1 : request.last - request.first + 1;
        }
        Require(packets <= 64 * 4, "packets asked for at a time"); // with the ones between those that are near
        Require(m_reassembler.NextTickNs() > m_nowNs, "a tick that does not let time go on");
    }
    void TakeFinished() {
        for (CFinishedBlock block; m_reassembler.TakeFinished(block);) {
            auto* const buffer = static_cast<CGuarded*>(block.token);
            Require(m_given.erase(buffer) == 1, "a buffer that was not given");
            Require(buffer->IsSound(), "bytes around a buffer");
            Require(block.end == EBlockEnd::Canceled || block.payloadBytes <= kBufferBytes, "size of the payload");
            Require((block.end == EBlockEnd::Failed) == (block.fault != EBlockFault::None), "fault of a block");
            Explain(block);
        }
    }

    CReassembler m_reassembler;
    std::array<CGuarded, kMostBuffers> m_buffers;
    std::set<CGuarded*> m_given;
    std::int64_t m_nowNs = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Choices choices(data, size);
    Receiver receiver(choices);
    while (choices.remaining_bytes() > 0) {
        receiver.Step(choices);
    }
    receiver.End();
    return 0;
}
