// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/MapFixture.h"

#include <zelmo/ChunkParser.h>

#include <Base/GCException.h>

#include <atomic>
#include <map>
#include <string>

/// What the parsers of one device do, and what was done with them. Threads: the counts, any.
struct ChunkScript {
    /// Integers, by name.
    std::map<std::string, std::string> nodes{
        {"ChunkOffsetX", "<Value>3</Value>"}, {"ChunkOffsetY", "<Value>4</Value>"},
        {"ChunkWidth", "<Value>10</Value>"},  {"ChunkHeight", "<Value>5</Value>"},
        {"ChunkStride", "<Value>12</Value>"}, {"ChunkTimestamp", "<Value>99</Value>"}};
    std::string formats = "Mono8"; ///< The name of entry 700 of ChunkPixelFormat, which is set; empty: no such node.
    std::function<void()> onAttach;
    bool failsToEnd = false; ///< Destroy throws, when all is done.
    std::atomic<int> made{0}, alive{0}, attached{0};
};

/// A parser whose chunks are constants, there while any buffer is attached.
class ScriptedChunks final : public Zelmo::ISelfReliantChunkParser {
public:
    explicit ScriptedChunks(ChunkScript& script) : m_script(script), m_map(MakeMap(script)) {
        ++script.made;
        ++script.alive;
    }
    ~ScriptedChunks() override { EXPECT_FALSE(m_isAttached) << "the buffer goes first"; }

    void AttachBuffer(const void* buffer, std::int64_t sizeBytes, GenApi::AttachStatistics_t* statistics) override {
        EXPECT_NE(buffer, nullptr);
        EXPECT_GT(sizeBytes, 0);
        EXPECT_EQ(statistics, nullptr);
        if (m_script.onAttach) {
            m_script.onAttach();
        }
        if (m_script.onAttach) {
            m_script.onAttach();
        }
        SetAttached(true);
    }
    void DetachBuffer() override { SetAttached(false); }
    void UpdateBuffer(const void*) override {}
    bool HasCRC() const override { return m_isAttached; }
    bool CheckCRC() const override { return m_isAttached; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_map.get(); }
    void Destroy() override {
        ChunkScript& script = m_script;
        --script.alive;
        delete this;
        if (script.failsToEnd) {
            throw RUNTIME_EXCEPTION("it sticks");
        }
    }

private:
    static tests::MapPtr MakeMap(const ChunkScript& script) {
        const std::string available = "<pIsAvailable>IsThere</pIsAvailable>";
        std::string nodes = tests::Value("IsThere");
        for (const auto& [name, elements] : script.nodes) {
            nodes += tests::Node("Integer", name, available + elements);
        }
        if (!script.formats.empty()) {
            nodes += tests::Node("Enumeration", "ChunkPixelFormat",
                                 available + tests::Node("EnumEntry", script.formats, "<Value>700</Value>") +
                                     "<Value>700</Value>");
        }
        return tests::MakeMap(nodes);
    }
    void SetAttached(bool isAttached) {
        m_script.attached += static_cast<int>(isAttached) - static_cast<int>(m_isAttached);
        m_isAttached = isAttached;
        GenApi::CIntegerPtr(*m_map, "IsThere")->SetValue(isAttached ? 1 : 0);
    }

    ChunkScript& m_script;
    const tests::MapPtr m_map;
    bool m_isAttached = false;
};
