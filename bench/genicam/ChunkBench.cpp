// SPDX-License-Identifier: Apache-2.0
#include "Allocations.h"
#include "Descriptions.h"

#include "bench/ChunkImage.h"

#include <benchmark/benchmark.h>

#include <array>

// What chunks add to each image: a buffer with an image and ten chunks of 8 bytes, over a map with a feature for each.

namespace {

using namespace GenApi;
using namespace genicam_bench;

constexpr unsigned kChunkCount = 10;

class ChunkBench : public benchmark::Fixture {
public:
    void SetUp(benchmark::State& state) override {
        const Description chunks{"chunks", chunk_image::Describe(kChunkCount)};
        m_map.reset(MakeFactory(chunks).CreateNodeMap());
        m_adapter.AttachNodeMap(m_map.get());
        m_buffers.fill(chunk_image::Make(64 * 1024, kChunkCount));
        for (unsigned i = 0; i < kChunkCount; ++i) {
            m_values[i] = dynamic_cast<IInteger*>(m_map->GetNode(chunk_image::NameOf(i).c_str()));
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
