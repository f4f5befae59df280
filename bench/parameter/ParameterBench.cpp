// SPDX-License-Identifier: Apache-2.0

// Parameters, each operation beside the node's own.

#include <zelmo/InstantCamera.h>
#include <zelmo/IntegerParameter.h>

#include <GenApi/GenApi.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

namespace {

struct Destroy {
    void operator()(GenApi::INodeMap* map) const { dynamic_cast<GenApi::IDestroy&>(*map).Destroy(); }
};

class ParameterBench : public benchmark::Fixture {
public:
    void SetUp(benchmark::State&) override {
        const std::string text =
            "<RegisterDescription ModelName=\"Bench\" VendorName=\"Bench\" StandardNameSpace=\"None\" "
            "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
            "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"a\" VersionGuid=\"b\" "
            "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
            "<Integer Name=\"Width\"><Value>640</Value><Min>16</Min><Max>4096</Max><Inc>16</Inc></Integer>"
            "</RegisterDescription>";
        m_map.reset(GenApi::CNodeMapFactory(GenApi::ContentType_Xml, text.data(), text.size()).CreateNodeMap("Device"));
        m_node = m_map->GetNode("Width");
        m_integer = dynamic_cast<GenApi::IInteger*>(m_node);
        m_parameter.Attach(m_node);
    }
    void TearDown(benchmark::State&) override {
        m_parameter.Release();
        m_map.reset();
    }

protected:
    std::unique_ptr<GenApi::INodeMap, Destroy> m_map;
    GenApi::INode* m_node = nullptr;
    GenApi::IInteger* m_integer = nullptr;
    Zelmo::CIntegerParameter m_parameter;
};

BENCHMARK_F(ParameterBench, GetValue)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_parameter.GetValue());
    }
}
BENCHMARK_F(ParameterBench, GetValueOfNode)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_integer->GetValue());
    }
}
BENCHMARK_F(ParameterBench, SetValue)(benchmark::State& state) {
    for (auto _ : state) {
        m_parameter.SetValue(800);
    }
}
BENCHMARK_F(ParameterBench, SetValueOfNode)(benchmark::State& state) {
    for (auto _ : state) {
        m_integer->SetValue(800);
    }
}
BENCHMARK_F(ParameterBench, TrySetValueOffTheGrid)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_parameter.TrySetValue(801, Zelmo::IntegerValueCorrection_Nearest));
    }
}
BENCHMARK_F(ParameterBench, GetValueOrDefault)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_parameter.GetValueOrDefault(0));
    }
}
// as the engine does at each start
BENCHMARK_F(ParameterBench, FindAndGetValue)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Zelmo::CIntegerParameter(m_map.get(), "Width").GetValueOrDefault(0));
    }
}
BENCHMARK_F(ParameterBench, FindAndGetValueOfNode)(benchmark::State& state) {
    for (auto _ : state) {
        const GenApi::CIntegerPtr node(m_map->GetNode("Width"));
        benchmark::DoNotOptimize(GenApi::IsReadable(node) ? node->GetValue() : 0);
    }
}

/// Through a reference of a catalogue, as applications write it, beside the node's own.
class CatalogueBench : public benchmark::Fixture {
public:
    void SetUp(benchmark::State&) override {
        m_camera = std::make_unique<Zelmo::CInstantCamera>();
        m_integer = dynamic_cast<GenApi::IInteger*>(m_camera->GetInstantCameraNodeMap().GetNode("MaxNumBuffer"));
    }
    void TearDown(benchmark::State&) override { m_camera.reset(); }

protected:
    std::unique_ptr<Zelmo::CInstantCamera> m_camera;
    GenApi::IInteger* m_integer = nullptr;
};

BENCHMARK_F(CatalogueBench, GetValue)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_camera->MaxNumBuffer.GetValue());
    }
}
BENCHMARK_F(CatalogueBench, GetValueOfNode)(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(m_integer->GetValue());
    }
}

} // namespace
