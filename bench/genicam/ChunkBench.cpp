// SPDX-License-Identifier: Apache-2.0
#include "Allocations.h"
#include "Descriptions.h"

#include <benchmark/benchmark.h>

#include <array>

// What chunks add to each image: a buffer with an image and ten chunks of 8 bytes, over a map with a feature for each.

namespace {

using namespace GenApi;
using namespace genicam_bench;

constexpr unsigned kChunkCount = 10;

std::string Feature(unsigned number) {
    const std::string n = std::to_string(number);
    return "<Port Name=\"Port" + n + "\"><ChunkID>" + std::to_string(5000 + number) +
           "</ChunkID></Port><IntReg Name=\"Reg" + n +
           "\"><Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>Port" + n +
           "</pPort><Endianess>BigEndian</Endianess></IntReg><Integer Name=\"Chunk" + n + "\"><pValue>Reg" + n +
           "</pValue></Integer>";
}

std::string ChunkDescription() {
    std::string text =
        "<RegisterDescription ModelName=\"Bench\" VendorName=\"Bench\" StandardNameSpace=\"None\" "
        "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
        "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"a\" VersionGuid=\"b\">";
    for (unsigned i = 0; i < kChunkCount; ++i) {
        text += Feature(i);
    }
    return text + "</RegisterDescription>";
}

void AppendBigEndian(std::vector<std::uint8_t>& bytes, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
}

void AppendTrailer(std::vector<std::uint8_t>& bytes, std::uint32_t id, std::uint32_t length) {
    AppendBigEndian(bytes, id);
    AppendBigEndian(bytes, length);
}

// The ids are those of the description: decimal digits there, read as hexadecimal ones.
std::vector<std::uint8_t> Buffer() {
    std::vector<std::uint8_t> bytes(64 * 1024);
    AppendTrailer(bytes, 1, 64 * 1024);
    for (std::uint32_t i = 0; i < kChunkCount; ++i) {
        bytes.resize(bytes.size() + 8, static_cast<std::uint8_t>(i));
        AppendTrailer(bytes, 0x5000 + i, 8);
    }
    return bytes;
}

class ChunkBench : public benchmark::Fixture {
public:
    void SetUp(benchmark::State& state) override {
        const Description chunks{"chunks", ChunkDescription()};
        m_map.reset(MakeFactory(chunks).CreateNodeMap());
        m_adapter.AttachNodeMap(m_map.get());
        m_buffers = {Buffer(), Buffer()};
        for (unsigned i = 0; i < kChunkCount; ++i) {
            m_values[i] = dynamic_cast<IInteger*>(m_map->GetNode(("Chunk" + std::to_string(i)).c_str()));
        }
        AttachStatistics_t found = {};
        Attach(0, &found);
        if (found.NumAttachedChunks != kChunkCount) {
            state.SkipWithError("not all chunks were found");
        }
        ReadAll();
    }
    void TearDown(benchmark::State&) override { m_map.reset(); }

protected:
    void Attach(unsigned image, AttachStatistics_t* found = nullptr) {
        std::vector<std::uint8_t>& buffer = m_buffers[image % 2];
        m_adapter.AttachBuffer(buffer.data(), static_cast<std::int64_t>(buffer.size()), found);
    }
    std::int64_t ReadAll() {
        std::int64_t sum = 0;
        for (IInteger* value : m_values) {
            sum += value->GetValue();
        }
        return sum;
    }
    template <class Image>
    void Run(benchmark::State& state, Image image) {
        image(1);
        const std::uint64_t before = CountAllocations().count;
        for (unsigned number = 0; auto _ : state) {
            image(number++);
        }
        state.counters["allocations"] = benchmark::Counter(static_cast<double>(CountAllocations().count - before),
                                                           benchmark::Counter::kAvgIterations);
    }

    MapPtr m_map;
    CChunkAdapterGEV m_adapter;
    std::array<std::vector<std::uint8_t>, 2> m_buffers;
    std::array<IInteger*, kChunkCount> m_values = {};
};

BENCHMARK_F(ChunkBench, AttachTenChunks)(benchmark::State& state) {
    Run(state, [this](unsigned image) { Attach(image); });
}
BENCHMARK_F(ChunkBench, AttachAndDetachTenChunks)(benchmark::State& state) {
    Run(state, [this](unsigned image) {
        Attach(image);
        m_adapter.DetachBuffer();
    });
}
BENCHMARK_F(ChunkBench, AttachAndReadTenChunks)(benchmark::State& state) {
    Run(state, [this](unsigned image) {
        Attach(image);
        benchmark::DoNotOptimize(ReadAll());
    });
}
BENCHMARK_F(ChunkBench, CheckLayoutOfTenChunks)(benchmark::State& state) {
    std::vector<std::uint8_t>& buffer = m_buffers[0];
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_adapter.CheckBufferLayout(buffer.data(), static_cast<std::int64_t>(buffer.size())));
    }
}

} // namespace
