// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/MapFixture.h"

#include <zelmo/ChunkParser.h>
#include <zelmo/StreamGrabber.h>

#include <GenApi/ChunkAdapterGEV.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A parser of the chunks of GigE Vision cameras. Counts how many there are.
class GevChunks final : public Zelmo::CChunkParser {
public:
    explicit GevChunks(std::atomic<int>& alive) : GevChunks(alive, MakeMap()) {}

    bool HasCRC() const override { return false; }
    bool CheckCRC() const override { return false; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_map.get(); }
    void Destroy() override { delete this; }

    /// The chunks, their ids and sizes in bytes; the enumeration stands over the last one.
    inline static const std::vector<std::pair<const char*, std::pair<std::uint32_t, int>>> kChunks{
        {"ChunkOffsetX", {0x101, 4}}, {"ChunkOffsetY", {0x102, 4}}, {"ChunkWidth", {0x103, 4}},
        {"ChunkHeight", {0x104, 4}},  {"ChunkStride", {0x105, 4}},  {"ChunkTimestamp", {0x106, 8}},
        {"FormatCode", {0x107, 4}},
    };

private:
    GevChunks(std::atomic<int>& alive, tests::MapPtr map)
        : CChunkParser(new GenApi::CChunkAdapterGEV(map.get())), m_alive(alive), m_map(std::move(map)) {
        ++m_alive;
    }
    ~GevChunks() override {
        --m_alive;
        EXPECT_FALSE(GetBuffer()) << "the buffer goes first";
    }
    static tests::MapPtr MakeMap() {
        std::string nodes;
        for (const auto& [name, chunk] : kChunks) {
            const auto& [id, sizeBytes] = chunk;
            char text[16];
            std::snprintf(text, sizeof text, "%x", id);
            nodes += tests::Node("Port", std::string("Of") + name, std::string("<ChunkID>") + text + "</ChunkID>") +
                     tests::Node("IntReg", name,
                                 "<Address>0</Address><Length>" + std::to_string(sizeBytes) +
                                     "</Length><AccessMode>RO</AccessMode><pPort>Of" + name +
                                     "</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>");
        }
        return tests::MakeMap(nodes + tests::Above("Enumeration", "ChunkPixelFormat", "FormatCode",
                                                   tests::Node("EnumEntry", "Mono8", "<Value>17301505</Value>")));
    }

    std::atomic<int>& m_alive;
    const tests::MapPtr m_map;
};

/// A frame with chunks behind its image, before it is written: what may be wrong is changed here.
struct ChunkedFrame {
    using Bytes = std::vector<std::uint8_t>;

    static Bytes BigEndian(std::uint64_t value, int sizeBytes) {
        Bytes bytes;
        for (int i = sizeBytes; i > 0; --i) {
            bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (i - 1)));
        }
        return bytes;
    }

    ChunkedFrame() {
        chunks[1] = Bytes(256, 0x55); // the image
        const std::uint64_t values[] = {3, 4, 10, 5, 12, 99, 17301505};
        for (std::size_t i = 0; i < GevChunks::kChunks.size(); ++i) {
            const auto& [id, sizeBytes] = GevChunks::kChunks[i].second;
            chunks[id] = BigEndian(values[i], sizeBytes);
        }
    }

    void WriteTo(Zelmo::GrabResult& result) const {
        Bytes all;
        for (const auto& [id, data] : chunks) {
            for (const Bytes& bytes :
                 {data, BigEndian(id, 4), BigEndian(id == 0x107 ? lastLength.value_or(data.size()) : data.size(), 4)}) {
                all.insert(all.end(), bytes.begin(), bytes.end());
            }
        }
        std::memcpy(result.buffer, all.data(), all.size());
        result.payloadType = Zelmo::PayloadType_ChunkData;
        result.payloadSize = payloadSize.value_or(static_cast<std::int64_t>(all.size()) - cut);
    }

    std::map<std::uint32_t, Bytes> chunks;   ///< By id, in this order.
    std::optional<std::uint64_t> lastLength; ///< What the last trailer tells.
    std::int64_t cut = 0;                    ///< Bytes that are missing at the end.
    std::optional<std::int64_t> payloadSize; ///< What is told in place of the truth.
};
