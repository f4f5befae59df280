// SPDX-License-Identifier: Apache-2.0

// Chunk buffers in all layouts. The input's end chooses the layout and the lengths of the buffers, which its start
// holds.

#include "Fuzz.h"
#include <GenApi/ChunkAdapterDcam.h>
#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/ChunkAdapterGeneric.h>
#include <GenApi/ChunkAdapterU3V.h>

#include <vector>

using namespace GenApi;

namespace {

bool AttachListed(CChunkAdapterGeneric& adapter, std::vector<std::uint8_t>& bytes, Fuzz::Choices& choices) {
    bool isAttached = false;
    SingleChunkData_t chunks[3];
    for (SingleChunkData_t& chunk : chunks)
        chunk = {choices.ConsumeIntegralInRange<uint64_t>(0, 3), choices.ConsumeIntegral<int8_t>(),
                 choices.ConsumeIntegral<uint8_t>()};
    Fuzz::Try([&] {
        adapter.AttachBuffer(bytes.data(), static_cast<int64_t>(bytes.size()), chunks, 3);
        isAttached = true;
    });
    return isAttached;
}

bool Attach(CChunkAdapter& adapter, std::vector<std::uint8_t>& bytes) {
    const auto size = static_cast<int64_t>(bytes.size());
    bool isAttached = false;
    Fuzz::Try([&] { adapter.AttachBuffer(bytes.data(), size), isAttached = true; });
    Fuzz::Require(adapter.CheckBufferLayout(bytes.data(), size) == isAttached, "a sound layout is attached");
    return isAttached;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Choices choices(data, size);
    const Fuzz::MapPtr map = Fuzz::MakeMapOfAllKinds();
    std::vector<std::vector<std::uint8_t>> buffers; // stay until the adapters go
    std::size_t attached = 0;                       // bytes of the one attached last; a refused one leaves it there
    const int64_t cache = choices.ConsumeIntegralInRange(-1, 8);
    CChunkAdapterGEV gev(nullptr, cache);
    CChunkAdapterU3V u3v(nullptr, cache);
    CChunkAdapterDcam dcam(nullptr, cache);
    CChunkAdapterGeneric generic(nullptr, cache);
    CChunkAdapter* const adapters[] = {&gev, &u3v, &dcam, &generic};
    CChunkAdapter& adapter = *adapters[choices.ConsumeIntegralInRange(0, 3)];
    adapter.AttachNodeMap(map.get());
    while (buffers.size() < 4 && choices.remaining_bytes() > 0) {
        const auto length = choices.ConsumeIntegralInRange<std::size_t>(1, 255);
        const std::vector<std::uint8_t> bytes = choices.ConsumeBytes<std::uint8_t>(length);
        buffers.emplace_back(bytes.begin(), bytes.end()); // without room behind its end
        const bool isTaken =
            &adapter == &generic ? AttachListed(generic, buffers.back(), choices) : Attach(adapter, buffers.back());
        attached = isTaken ? bytes.size() : attached;
        for (const char* name : {"ChunkInt", "ChunkText", "ChunkBytes"})
            Fuzz::UseNode(*map->GetNode(name));
        const int next = choices.ConsumeIntegralInRange(0, 3);
        if (next == 1)
            adapter.DetachBuffer();
        if (next == 2)
            adapter.ClearCaches();
        if (next == 3 && buffers.front().size() >= attached)
            Fuzz::Try([&] { adapter.UpdateBuffer(buffers.front().data()); });
        Fuzz::UseNode(*map->GetNode("ChunkBytes"));
    }
    return 0;
}
