#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <GenApi/GenApi.h>

// Node maps: one access of each kind, and what it costs to make a map of a large description.

namespace {

using namespace GenApi;

class CMemoryPort : public CPortImpl {
public:
    EAccessMode GetAccessMode() const override { return RW; }
    void Read(void* buffer, int64_t address, int64_t length) override {
        std::memcpy(buffer, &m_memory[static_cast<size_t>(address)], static_cast<size_t>(length));
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        std::memcpy(&m_memory[static_cast<size_t>(address)], buffer, static_cast<size_t>(length));
    }

private:
    std::vector<uint8_t> m_memory = std::vector<uint8_t>(1 << 20);
};

std::string Number(unsigned number) {
    return std::to_string(number);
}

// A feature as cameras describe it: a locked and limited integer over a register, and a formula over both.
std::string Feature(unsigned i) {
    const std::string n = Number(i);
    return "<IntReg Name=\"Reg" + n + "\"><ToolTip>Register of feature " + n + "</ToolTip><Address>" +
           Number(0x100 + i * 4) + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" +
           "<Endianess>LittleEndian</Endianess></IntReg>" + //
           "<Integer Name=\"Feature" + n + "\"><ToolTip>A feature.</ToolTip><Description>The feature of number " + n +
           ".</Description><DisplayName>Feature " + n + "</DisplayName><Visibility>Expert</Visibility>" +
           "<pIsLocked>TLParamsLocked</pIsLocked><pValue>Reg" + n + "</pValue><Min>0</Min><Max>100000</Max></Integer>" +
           "<IntSwissKnife Name=\"Knife" + n + "\"><pVariable Name=\"A\">Feature" + n +
           "</pVariable><pVariable Name=\"B\">TLParamsLocked</pVariable><Formula>(A &gt;&gt; 2) * 3 + (B = 0 ? A "
           "&amp; " +
           "0xFF : A / 7) - ((A % 5) &lt;&lt; 1)</Formula></IntSwissKnife>";
}

std::string Description(unsigned nodes) {
    std::string text =
        "<RegisterDescription ModelName=\"Bench\" VendorName=\"Bench\" StandardNameSpace=\"None\" "
        "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
        "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"a\" VersionGuid=\"b\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\"><Category Name=\"Root\">";
    const unsigned features = (nodes - 6) / 3;
    for (unsigned i = 0; i < features; ++i)
        text += "<pFeature>Feature" + Number(i) + "</pFeature>";
    text += "</Category><Port Name=\"Device\"/><Integer Name=\"TLParamsLocked\"><Value>0</Value></Integer>"
            "<Integer Name=\"Plain\"><Value>1</Value></Integer><Float Name=\"PlainFloat\"><Value>1</Value></Float>"
            "<IntReg Name=\"Uncached\"><Address>16</Address><Length>4</Length><AccessMode>RW</AccessMode>"
            "<pPort>Device</pPort><Cachable>NoCache</Cachable><Endianess>LittleEndian</Endianess></IntReg>";
    for (unsigned i = 0; i < features; ++i)
        text += Feature(i);
    return text + "</RegisterDescription>";
}

struct CDestroy {
    void operator()(INodeMap* map) const { dynamic_cast<IDestroy&>(*map).Destroy(); }
};
typedef std::unique_ptr<INodeMap, CDestroy> MapPtr;

CNodeMapFactory MakeFactory(const std::string& text) {
    return CNodeMapFactory(ContentType_Xml, text.data(), text.size());
}

class GenApiBench : public benchmark::Fixture {
public:
    void SetUp(benchmark::State&) override {
        const std::string text = Description(3000);
        m_map.reset(MakeFactory(text).CreateNodeMap());
        m_map->Connect(&m_port);
    }
    void TearDown(benchmark::State&) override { m_map.reset(); }

protected:
    IInteger& Int(const char* name) { return *CIntegerPtr(m_map->GetNode(name)); }

    void Read(benchmark::State& state, const char* name) {
        IInteger& node = Int(name);
        for (auto _ : state)
            benchmark::DoNotOptimize(node.GetValue());
    }
    void Write(benchmark::State& state, const char* name) {
        IInteger& node = Int(name);
        for (int64_t value = 0; auto _ : state)
            node.SetValue(++value & 0xFFF);
    }

    CMemoryPort m_port;
    MapPtr m_map;
};

BENCHMARK_F(GenApiBench, ReadPlain)(benchmark::State& state) {
    Read(state, "Plain");
}
BENCHMARK_F(GenApiBench, ReadRegisterCached)(benchmark::State& state) {
    Read(state, "Reg7");
}
BENCHMARK_F(GenApiBench, ReadRegisterUncached)(benchmark::State& state) {
    Read(state, "Uncached");
}
BENCHMARK_F(GenApiBench, ReadFeatureCached)(benchmark::State& state) {
    Read(state, "Feature7");
}
BENCHMARK_F(GenApiBench, ReadFormulaCached)(benchmark::State& state) {
    Read(state, "Knife7");
}
BENCHMARK_F(GenApiBench, WritePlain)(benchmark::State& state) {
    Write(state, "Plain");
}
BENCHMARK_F(GenApiBench, WriteRegister)(benchmark::State& state) {
    Write(state, "Reg7");
}
BENCHMARK_F(GenApiBench, WriteFeature)(benchmark::State& state) {
    Write(state, "Feature7");
}

BENCHMARK_F(GenApiBench, WriteAndReadFormula)(benchmark::State& state) {
    IInteger& input = Int("Feature7");
    IInteger& formula = Int("Knife7");
    for (int64_t value = 0; auto _ : state) {
        input.SetValue(++value & 0xFFF);
        benchmark::DoNotOptimize(formula.GetValue());
    }
}

BENCHMARK_F(GenApiBench, WriteLockOfAllFeatures)(benchmark::State& state) {
    Write(state, "TLParamsLocked");
}

BENCHMARK_F(GenApiBench, AccessMode)(benchmark::State& state) {
    const INode& node = *m_map->GetNode("Feature7");
    for (auto _ : state)
        benchmark::DoNotOptimize(node.GetAccessMode());
}

BENCHMARK_F(GenApiBench, GetNode)(benchmark::State& state) {
    const GenICam::gcstring name = "Feature7";
    for (auto _ : state)
        benchmark::DoNotOptimize(m_map->GetNode(name));
}

void LoadDescription(benchmark::State& state) {
    const std::string text = Description(static_cast<unsigned>(state.range(0)));
    for (auto _ : state)
        MapPtr(MakeFactory(text).CreateNodeMap());
    state.counters["bytes"] = static_cast<double>(text.size());
}
BENCHMARK(LoadDescription)->Arg(3000)->Arg(10000)->Unit(benchmark::kMillisecond);

void FurtherMap(benchmark::State& state) {
    const std::string text = Description(static_cast<unsigned>(state.range(0)));
    CNodeMapFactory factory = MakeFactory(text);
    const MapPtr first(factory.CreateNodeMap());
    for (auto _ : state)
        MapPtr(factory.CreateNodeMap());
}
BENCHMARK(FurtherMap)->Arg(3000)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace
