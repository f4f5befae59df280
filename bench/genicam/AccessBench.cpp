// SPDX-License-Identifier: Apache-2.0
#include "Allocations.h"
#include "Descriptions.h"

#include <benchmark/benchmark.h>

// One access of each kind to a map of 3,000 nodes. The counter "allocations" says how many the library makes in each.

namespace {

using namespace GenApi;
using namespace genicam_bench;

class AccessBench : public benchmark::Fixture {
public:
    void SetUp(benchmark::State&) override {
        const Description camera = GenerateCamera(3000);
        m_map.reset(MakeFactory(camera).CreateNodeMap());
        m_map->Connect(&m_port);
    }
    void TearDown(benchmark::State&) override { m_map.reset(); }

protected:
    template <typename Interface>
    Interface& Find(const char* name) {
        return *CPointer<Interface>(m_map->GetNode(name));
    }

    /// The first access computes what is kept from then on, and is not measured.
    template <typename Access>
    void Measure(benchmark::State& state, Access&& access) {
        access();
        const std::uint64_t before = CountAllocations().count;
        for (auto _ : state) {
            access();
        }
        state.counters["allocations"] = benchmark::Counter(static_cast<double>(CountAllocations().count - before),
                                                           benchmark::Counter::kAvgIterations);
    }

    template <typename Interface>
    void Read(benchmark::State& state, const char* name) {
        Interface& node = Find<Interface>(name);
        Measure(state, [&] { benchmark::DoNotOptimize(node.GetValue()); });
    }
    void Write(benchmark::State& state, const char* name) {
        IInteger& node = Find<IInteger>(name);
        Measure(state, [&, value = int64_t(0)]() mutable { node.SetValue(++value & 0xFFF); });
    }

    MemoryPort m_port;
    MapPtr m_map;
};

BENCHMARK_F(AccessBench, ReadPlain)(benchmark::State& state) {
    Read<IInteger>(state, "Plain");
}
BENCHMARK_F(AccessBench, ReadRegisterCached)(benchmark::State& state) {
    Read<IInteger>(state, "Reg7");
}
BENCHMARK_F(AccessBench, ReadFeatureCached)(benchmark::State& state) {
    Read<IInteger>(state, "Feature7");
}
BENCHMARK_F(AccessBench, ReadChainCached)(benchmark::State& state) {
    Read<IInteger>(state, "Chain");
}
BENCHMARK_F(AccessBench, ReadRegisterUncached)(benchmark::State& state) {
    Read<IInteger>(state, "Uncached");
}
BENCHMARK_F(AccessBench, ReadKnifeCached)(benchmark::State& state) {
    Read<IFloat>(state, "KnifeCached");
}
BENCHMARK_F(AccessBench, ReadKnifeUncached)(benchmark::State& state) {
    Read<IFloat>(state, "KnifeUncached");
}
BENCHMARK_F(AccessBench, WritePlain)(benchmark::State& state) {
    Write(state, "Plain");
}
BENCHMARK_F(AccessBench, WriteRegister)(benchmark::State& state) {
    Write(state, "Reg7");
}
BENCHMARK_F(AccessBench, WriteFeature)(benchmark::State& state) {
    Write(state, "Feature7");
}
BENCHMARK_F(AccessBench, WriteLockOfAllFeatures)(benchmark::State& state) {
    Write(state, "TLParamsLocked");
}

BENCHMARK_F(AccessBench, SetEnumerationByName)(benchmark::State& state) {
    IEnumeration& node = Find<IEnumeration>("Format");
    const gcstring names[] = {"Format2", "Format5"};
    Measure(state, [&, i = 0]() mutable { node.FromString(names[i ^= 1]); });
}

BENCHMARK_F(AccessBench, WriteAndReadFormula)(benchmark::State& state) {
    IInteger& input = Find<IInteger>("Feature7");
    IInteger& formula = Find<IInteger>("Knife7");
    Measure(state, [&, value = int64_t(0)]() mutable {
        input.SetValue(++value & 0xFFF);
        benchmark::DoNotOptimize(formula.GetValue());
    });
}

BENCHMARK_F(AccessBench, AccessMode)(benchmark::State& state) {
    const INode& node = *m_map->GetNode("Feature7");
    Measure(state, [&] { benchmark::DoNotOptimize(node.GetAccessMode()); });
}

BENCHMARK_F(AccessBench, GetNode)(benchmark::State& state) {
    const gcstring name = "Feature7";
    Measure(state, [&] { benchmark::DoNotOptimize(m_map->GetNode(name)); });
}

/// A write costs by what depends on the node, not by the size of the map.
void WriteHub(benchmark::State& state) {
    const Description hub =
        GenerateHub(static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1)));
    const MapPtr map(MakeFactory(hub).CreateNodeMap());
    IInteger& node = *CIntegerPtr(map->GetNode("Hub"));
    node.SetValue(1);
    for (auto _ : state) {
        node.SetValue(2);
    }
}
BENCHMARK(WriteHub)->ArgsProduct({{3000, 30000}, {0, 10, 100, 1000}})->ArgNames({"nodes", "dependents"});

} // namespace
