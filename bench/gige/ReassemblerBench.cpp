// SPDX-License-Identifier: Apache-2.0
//
// What it costs to put packets together: CPU time for each packet and bytes of images per second, beside a bare memcpy
// of the data of the same datagrams to where it belongs, into as many images.
#include "gige/stream/SentBlock.h"
#include "stream/Reassembler.h"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <vector>

using namespace Gige;

namespace {

constexpr std::uint32_t kImageBytes = 4u << 20;
constexpr std::size_t kImages = 16;

/// One image's datagrams; their ids are those of the image to come.
class CDatagrams {
public:
    explicit CDatagrams(std::uint32_t packetSize)
        : m_block({.isExtended = true, .packetSize = packetSize, .bytes = kImageBytes / 20 * 20}) {
        for (std::uint32_t id = 0; id <= m_block.trailerId; ++id) {
            packets.push_back(m_block.Packet(id));
        }
    }
    void SetBlockId(std::vector<std::uint8_t>& packet, std::uint64_t id) { GigEVision::PutBigEndian(&packet[8], id); }

    std::vector<std::vector<std::uint8_t>> packets;

private:
    CSentBlock m_block;
};

struct CImages {
    CImages() : memory(kImages, std::vector<std::uint8_t>(kImageBytes)) {}
    std::vector<std::vector<std::uint8_t>> memory;
};

void CountPackets(benchmark::State& state, const CDatagrams& datagrams) {
    const auto packets = static_cast<double>(datagrams.packets.size());
    state.SetBytesProcessed(state.iterations() * kImageBytes);
    state.counters["perPacket"] =
        benchmark::Counter(packets, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// @p lossStride: each so many packets one comes behind the trailer; 0: none.
void Reassemble(benchmark::State& state, std::uint32_t packetSize, std::size_t lossStride) {
    CDatagrams datagrams(packetSize);
    CImages images;
    CReassembler reassembler(
        {.packetSize = packetSize, .payloadBytes = kImageBytes, .maxBuffers = kImages, .maxBufferBytes = kImageBytes},
        {});
    for (auto& memory : images.memory) {
        reassembler.AddBuffer({&memory, memory});
    }
    std::uint64_t id = 0;
    std::int64_t nowNs = 0;
    const auto feed = [&](std::size_t packet) {
        datagrams.SetBlockId(datagrams.packets[packet], id);
        reassembler.OnDatagram(datagrams.packets[packet], nowNs);
    };
    for (auto _ : state) {
        ++id;
        for (std::size_t i = 0; i < datagrams.packets.size(); ++i) {
            if (lossStride == 0 || i % lossStride != 1) {
                feed(i);
            }
            if (i % 64 == 63) { // as behind each batch
                reassembler.OnTick(nowNs += 100'000);
                benchmark::DoNotOptimize(reassembler.TakeResends().data());
            }
        }
        for (std::size_t i = 1; lossStride != 0 && i < datagrams.packets.size(); i += lossStride) {
            feed(i);
        }
        CFinishedBlock block;
        if (!reassembler.TakeFinished(block) || block.end != EBlockEnd::Complete) {
            throw std::logic_error("an image is not complete");
        }
        auto& memory = *static_cast<std::vector<std::uint8_t>*>(block.token);
        reassembler.AddBuffer({&memory, memory});
    }
    CountPackets(state, datagrams);
}

void CopyBare(benchmark::State& state, std::uint32_t packetSize) {
    CDatagrams datagrams(packetSize);
    CImages images;
    std::size_t image = 0;
    for (auto _ : state) {
        std::uint8_t* to = images.memory[image++ % kImages].data();
        for (std::size_t i = 1; i + 1 < datagrams.packets.size(); ++i) {
            const auto& packet = datagrams.packets[i];
            const std::size_t bytes = packet.size() - GigEVision::kExtendedGvspHeaderBytes;
            std::memcpy(to, packet.data() + GigEVision::kExtendedGvspHeaderBytes, bytes);
            to += bytes;
        }
        benchmark::ClobberMemory();
    }
    CountPackets(state, datagrams);
}

BENCHMARK_CAPTURE(CopyBare, bytes_1500, 1500);
BENCHMARK_CAPTURE(Reassemble, bytes_1500, 1500, 0);
BENCHMARK_CAPTURE(Reassemble, bytes_1500_one_percent_late, 1500, 100);
BENCHMARK_CAPTURE(CopyBare, bytes_9000, 9000);
BENCHMARK_CAPTURE(Reassemble, bytes_9000, 9000, 0);
BENCHMARK_CAPTURE(Reassemble, bytes_9000_one_percent_late, 9000, 100);

} // namespace
