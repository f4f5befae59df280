// SPDX-License-Identifier: Apache-2.0
#include "Allocations.h"
#include "Descriptions.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>

// What it costs to load a description, to make maps of it, and what they hold. Times are the thread's own, so that
// other programs on the machine do not count; a map's end is not timed.

namespace {

using namespace GenApi;
using namespace genicam_bench;

double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Median(std::vector<double> samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

/// Makes a map and times that alone.
template <typename Make>
double TimeOf(MapPtr& map, Make&& make) {
    const double begin = ThreadSeconds();
    map.reset(make());
    return ThreadSeconds() - begin;
}

/// Loads with the first map, which is what is timed; and makes a second one, whose time the counters compare.
void LoadAndMaps(benchmark::State& state, const Description& description) {
    std::vector<double> first;
    std::vector<double> second;
    double nodes = 0;
    for (auto _ : state) {
        MapPtr maps[2];
        CNodeMapFactory factory;
        first.push_back(TimeOf(maps[0], [&] {
            factory = MakeFactory(description);
            return factory.CreateNodeMap();
        }));
        second.push_back(TimeOf(maps[1], [&] { return factory.CreateNodeMap(); }));
        state.SetIterationTime(first.back());
        nodes = static_cast<double>(maps[0]->GetNumNodes());
    }
    state.counters["MBperSecond"] = static_cast<double>(description.text.size()) * 1e-6 / Median(first);
    state.counters["secondMapUs"] = Median(second) * 1e6;
    state.counters["secondMapNsPerNode"] = Median(second) * 1e9 / nodes;
    state.counters["factor"] = Median(first) / Median(second);
}

struct Memory {
    double nodes = 0;
    double instance = 0;  // bytes of a second map
    double withModel = 0; // bytes of factory and first map
    double used = 0;      // bytes of the second map once all access modes were asked for, which compiles the formulas
};

double BytesSince(std::size_t before) {
    return static_cast<double>(CountAllocations().bytes - before);
}

double AskForAccessModes(INodeMap& map) {
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        benchmark::DoNotOptimize(node->GetAccessMode());
    }
    return static_cast<double>(nodes.size());
}

Memory MeasureMemory(const Description& description) {
    Memory memory;
    std::size_t before = CountAllocations().bytes;
    CNodeMapFactory factory = MakeFactory(description);
    const MapPtr first(factory.CreateNodeMap());
    memory.withModel = BytesSince(before);
    before = CountAllocations().bytes;
    const MapPtr second(factory.CreateNodeMap());
    memory.instance = BytesSince(before);
    MemoryPort port;
    before = CountAllocations().bytes;
    second->Connect(&port);
    memory.nodes = AskForAccessModes(*second);
    memory.used = memory.instance + BytesSince(before);
    return memory;
}

/// Bytes for each node; of several descriptions the average over all nodes.
void BytesPerNode(benchmark::State& state, const std::vector<Description>& descriptions) {
    Memory sum;
    for (auto _ : state) {
        sum = Memory();
        for (const Description& description : descriptions) {
            const Memory memory = MeasureMemory(description);
            sum.nodes += memory.nodes;
            sum.instance += memory.instance;
            sum.withModel += memory.withModel;
            sum.used += memory.used;
        }
    }
    state.counters["instance"] = sum.instance / sum.nodes;
    state.counters["used"] = sum.used / sum.nodes;
    state.counters["withModel"] = sum.withModel / sum.nodes;
}

void Register(const Description& description) {
    const auto load = [description](benchmark::State& state) { LoadAndMaps(state, description); };
    benchmark::RegisterBenchmark(("LoadAndMaps/" + description.name).c_str(), load)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void RegisterMemory(const std::string& name, const std::vector<Description>& descriptions) {
    const auto measure = [descriptions](benchmark::State& state) { BytesPerNode(state, descriptions); };
    benchmark::RegisterBenchmark(("BytesPerNode/" + name).c_str(), measure)->Iterations(1);
}

const bool kGAreRegistered = [] {
    const std::vector<Description> real = ReadRealDescriptions();
    for (const Description& description : real) {
        Register(description);
        RegisterMemory(description.name, {description});
    }
    if (real.empty()) {
        benchmark::RegisterBenchmark("LoadAndMaps/real", [](benchmark::State& state) {
            state.SkipWithError("ZELMO_TEST_DESCRIPTIONS names no folder with descriptions");
        });
    } else {
        RegisterMemory("all-real", real);
    }
    Register(GenerateCamera(3000));
    Register(GenerateCamera(10000));
    RegisterMemory("generated-3000", {GenerateCamera(3000)});
    return true;
}();

} // namespace
